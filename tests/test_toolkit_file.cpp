#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "toolkit/CFile.h"
#include "toolkit/CFileFind.h"

namespace {

// A fresh folder under /tmp, removed with everything in it.
class TempFolder {
public:
    TempFolder() {
        char pattern[] = "/tmp/tapdelay-file-XXXXXX";
        const char* made = mkdtemp(pattern);
        m_path = made ? std::string(made) + "/" : std::string();
    }
    ~TempFolder() {
        std::error_code ignored;
        if (!m_path.empty()) std::filesystem::remove_all(m_path, ignored);
    }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool Exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

constexpr unsigned kReadBinary = CFile::modeRead | CFile::typeBinary;  // 0x8000
constexpr unsigned kCreateWrite = CFile::modeCreate | CFile::modeWrite;  // 0x1001

class ToolkitFile : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_FALSE(folder.path().empty()); }
    TempFolder folder;
};

}  // namespace

TEST_F(ToolkitFile, FlagValuesAreMFCs) {
    EXPECT_EQ(kReadBinary, 0x8000u);
    EXPECT_EQ(kCreateWrite, 0x1001u);
    EXPECT_EQ(CFile::modeReadWrite, 2u);
    EXPECT_EQ(CFile::shareDenyNone, 0x40u);
    EXPECT_EQ(CFile::begin, 0u);
    EXPECT_EQ(CFile::current, 1u);
    EXPECT_EQ(CFile::end, 2u);
}

TEST_F(ToolkitFile, CreateOnAnExistingFileLeavesItEmptyWithoutAnyWrite) {
    const std::string path = folder.path() + "TapDelayDef.fxb";
    WriteBytes(path, std::string(17824, 'x'));
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), kCreateWrite));
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(ReadBytes(path), "");
}

TEST_F(ToolkitFile, WrittenBytesReadBackInOrder) {
    const std::string path = folder.path() + "bank.fxb";
    const std::string bytes("CcnK\0\0\0\0FBCh\x80\xff", 14);
    {
        CFile file;
        ASSERT_TRUE(file.Open(path.c_str(), kCreateWrite));
        file.Write(bytes.data(), 10);
        file.Write(bytes.data() + 10, 4);
        EXPECT_EQ(file.GetFilePath(), path.c_str());
    }  // the destructor closes and flushes
    EXPECT_EQ(ReadBytes(path), bytes);

    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), kReadBinary));
    char buffer[32] = {};
    EXPECT_EQ(file.Read(buffer, 4), 4u);
    EXPECT_EQ(std::string(buffer, 4), "CcnK");
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 10u);  // only what is left
    EXPECT_EQ(std::string(buffer, 10), bytes.substr(4));
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 0u);
}

TEST_F(ToolkitFile, ModeFlagsAreTestedCreateThenReadWriteThenWrite) {
    const std::string path = folder.path() + "modes.bin";

    WriteBytes(path, "old contents");
    CFile readWrite;
    ASSERT_TRUE(readWrite.Open(path.c_str(), CFile::modeReadWrite));  // "w+b": truncates
    readWrite.Write("abcdef", 6);
    EXPECT_EQ(readWrite.Seek(2, CFile::begin), 2u);
    char buffer[8] = {};
    EXPECT_EQ(readWrite.Read(buffer, 8), 4u);  // and reads back
    EXPECT_EQ(std::string(buffer, 4), "cdef");
    readWrite.Close();

    WriteBytes(path, "old contents");
    CFile writeOnly;
    ASSERT_TRUE(writeOnly.Open(path.c_str(), CFile::modeWrite));  // "wb": truncates
    EXPECT_EQ(writeOnly.Read(buffer, 8), 0u);
    writeOnly.Write("xy", 2);
    writeOnly.Close();
    EXPECT_EQ(ReadBytes(path), "xy");

    // Read-write together with write: read-write wins, so the file can be read.
    CFile both;
    ASSERT_TRUE(both.Open(path.c_str(), CFile::modeReadWrite | CFile::modeWrite));
    both.Write("12", 2);
    both.Seek(0, CFile::begin);
    EXPECT_EQ(both.Read(buffer, 8), 2u);
    both.Close();

    // Create wins over read-write: the file is recreated, even when it was read-only.
    WriteBytes(path, "protected");
    chmod(path.c_str(), 0444);
    CFile created;
    ASSERT_TRUE(created.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite));
    created.Write("new", 3);
    created.Close();
    EXPECT_EQ(ReadBytes(path), "new");
}

TEST_F(ToolkitFile, ReadModeNeverCreatesOrTruncates) {
    const std::string path = folder.path() + "absent.fxb";
    CFile file;
    EXPECT_FALSE(file.Open(path.c_str(), kReadBinary));
    EXPECT_FALSE(Exists(path));

    WriteBytes(path, "keep");
    ASSERT_TRUE(file.Open(path.c_str(), kReadBinary));
    file.Write("zz", 2);  // a read-only stream: nothing is written
    file.Close();
    EXPECT_EQ(ReadBytes(path), "keep");
}

TEST_F(ToolkitFile, URLAndPlainPathOpenTheSameFile) {
    const std::string subfolder = folder.path() + "My Bank 100%/";
    ASSERT_TRUE(std::filesystem::create_directory(subfolder));
    const std::string path = subfolder + "TapDelayDef.fxb";
    WriteBytes(path, "CcnK");

    // The temp folder's own name needs no escapes; ' ' is %20 and '%' is %25.
    const std::string url = "file://" + folder.path() + "My%20Bank%20100%25/TapDelayDef.fxb";
    const std::string localhostURL =
        "file://localhost" + folder.path() + "My%20Bank%20100%25/TapDelayDef.fxb";

    for (const std::string& name : {path, url, localhostURL}) {
        SCOPED_TRACE(name);
        CFile file;
        ASSERT_TRUE(file.Open(name.c_str(), kReadBinary));
        EXPECT_EQ(file.GetFilePath(), path.c_str());
        char buffer[4] = {};
        EXPECT_EQ(file.Read(buffer, 4), 4u);
        EXPECT_EQ(std::string(buffer, 4), "CcnK");
    }

    // Writing through the URL reaches the plain path's file.
    CFile writer;
    ASSERT_TRUE(writer.Open(url.c_str(), kCreateWrite));
    writer.Write("FBCh", 4);
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(ReadBytes(path), "FBCh");
}

TEST_F(ToolkitFile, URLWithoutAFileSystemPathFailsToOpen) {
    CFile file;
    EXPECT_FALSE(file.Open("http://example.com/TapDelayDef.fxb", kReadBinary));
    EXPECT_FALSE(file.Open(("file://otherhost" + folder.path() + "x").c_str(), kCreateWrite));
    EXPECT_FALSE(file.Open(("file://" + folder.path() + "bad%zzescape").c_str(), kCreateWrite));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(std::filesystem::directory_iterator(folder.path()),
              std::filesystem::directory_iterator());  // nothing was created
}

TEST_F(ToolkitFile, SeekMovesFromBeginCurrentOrEndAndIgnoresOtherOrigins) {
    const std::string path = folder.path() + "seek.bin";
    WriteBytes(path, "0123456789");
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), kReadBinary));
    EXPECT_EQ(file.Seek(4, CFile::begin), 4u);
    EXPECT_EQ(file.Seek(2, CFile::current), 6u);
    EXPECT_EQ(file.Seek(-3, CFile::end), 7u);
    EXPECT_EQ(file.Seek(-1, CFile::current), 6u);

    EXPECT_EQ(file.Seek(128, 3), 6u);  // "from" 3: answers the position, moves nothing
    EXPECT_EQ(file.Seek(-5, 99), 6u);
    char c = 0;
    EXPECT_EQ(file.Read(&c, 1), 1u);
    EXPECT_EQ(c, '6');

    EXPECT_EQ(file.Seek(-100, CFile::begin), 7u);  // an impossible target leaves it
}

TEST_F(ToolkitFile, ClosedOrUnopenedFileAnswersZeroAndDoesNothing) {
    const std::string path = folder.path() + "closed.bin";
    WriteBytes(path, "data");
    CFile file;
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(file.Read(buffer, 4), 0u);
    file.Write(buffer, 4);
    EXPECT_EQ(file.Seek(2, CFile::begin), 0u);
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(file.Close());

    ASSERT_TRUE(file.Open(path.c_str(), kReadBinary));
    EXPECT_EQ(file.Seek(3, CFile::begin), 3u);
    file.Close();
    file.Close();  // twice is safe
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Read(buffer, 4), 0u);
    EXPECT_EQ(std::string(buffer, 4), "abcd");
    EXPECT_EQ(file.Seek(0, CFile::end), 0u);
    file.Write("x", 1);
    EXPECT_EQ(ReadBytes(path), "data");

    // A failed open leaves the file closed just the same.
    EXPECT_FALSE(file.Open((folder.path() + "missing/x.bin").c_str(), kCreateWrite));
    EXPECT_EQ(file.Read(buffer, 4), 0u);
    EXPECT_EQ(file.Seek(1, CFile::begin), 0u);
    EXPECT_FALSE(file.Open(nullptr, kReadBinary));
}

TEST_F(ToolkitFile, OpeningAgainClosesThePreviousStream) {
    const std::string first = folder.path() + "first.bin";
    const std::string second = folder.path() + "second.bin";
    CFile file;
    ASSERT_TRUE(file.Open(first.c_str(), kCreateWrite));
    file.Write("one", 3);
    WriteBytes(second, "two");
    ASSERT_TRUE(file.Open(second.c_str(), kReadBinary));
    EXPECT_EQ(ReadBytes(first), "one");  // flushed by the implicit close
    char buffer[3] = {};
    EXPECT_EQ(file.Read(buffer, 3), 3u);
    EXPECT_EQ(std::string(buffer, 3), "two");
}

TEST_F(ToolkitFile, CloseReportsAWriteThatCouldNotReachTheDisk) {
    if (!Exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    CFile file;
    ASSERT_TRUE(file.Open("/dev/full", CFile::modeWrite));
    const std::string bank(17824, '\0');
    file.Write(bank.data(), static_cast<unsigned>(bank.size()));
    EXPECT_FALSE(file.Close());
    EXPECT_TRUE(file.WriteFailed());

    const std::string path = folder.path() + "fine.bin";
    ASSERT_TRUE(file.Open(path.c_str(), kCreateWrite));  // a new open starts clean
    EXPECT_FALSE(file.WriteFailed());
    file.Write("ok", 2);
    EXPECT_TRUE(file.Flush());
    EXPECT_TRUE(file.Close());
}

TEST_F(ToolkitFile, FindFileTellsWhetherSomethingMatches) {
    const std::string path = folder.path() + "TapDelayDef.fxb";
    WriteBytes(path, "CcnK");
    CFileFind finder;
    EXPECT_TRUE(finder.FindFile(path.c_str()));
    EXPECT_EQ(finder.GetRoot(), folder.path().c_str());
    EXPECT_TRUE(finder.FindFile(("file://" + path).c_str()));
    EXPECT_TRUE(finder.FindFile((folder.path() + "*.fxb").c_str()));
    EXPECT_TRUE(finder.FindFile((folder.path() + "TapDelay???.fxb").c_str()));
    EXPECT_FALSE(finder.FindFile((folder.path() + "*.wav").c_str()));
    EXPECT_FALSE(finder.FindFile((folder.path() + "TapDelayDef.fxp").c_str()));
    EXPECT_FALSE(finder.FindFile(("http://" + path).c_str()));
    EXPECT_FALSE(finder.FindFile(nullptr));
    finder.Close();
    finder.Close();
}

TEST_F(ToolkitFile, FindFileTakesBracketsLiterally) {
    const std::string subfolder = folder.path() + "Presets [v1]/";
    ASSERT_TRUE(std::filesystem::create_directory(subfolder));
    WriteBytes(subfolder + "Bank[2].fxb", "CcnK");
    CFileFind finder;
    EXPECT_TRUE(finder.FindFile((subfolder + "Bank[2].fxb").c_str()));
    EXPECT_TRUE(finder.FindFile((subfolder + "*.fxb").c_str()));
    EXPECT_EQ(finder.GetRoot(), subfolder.c_str());
    EXPECT_FALSE(finder.FindFile((subfolder + "Bank2.fxb").c_str()));  // not a glob class
    EXPECT_FALSE(finder.FindFile((folder.path() + "Presets v/*.fxb").c_str()));
}
