// CFile with the open flags the plug-in uses, file:// URLs, reading, writing
// and a full disk, and CFileFind's patterns.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/PluginUnderTest.h"
#include "toolkit/CFile.h"
#include "toolkit/CFileFind.h"

namespace {

// The raw flag words the plug-in passes.
constexpr unsigned kReadBinary = 0x8000;   // modeRead | typeBinary
constexpr unsigned kCreateWrite = 0x1001;  // modeCreate | modeWrite

void WriteBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Reads up to `count` bytes as a string.
std::string ReadText(CFile& file, unsigned count) {
    std::string buffer(count, '\0');
    buffer.resize(file.Read(&buffer[0], count));
    return buffer;
}

class ToolkitFile : public ::testing::Test {
protected:
    std::string Path(const std::string& name) const { return folder.path() + name; }
    TempFolder folder;
};

}  // namespace

// The bank file's life with the flags the plug-in passes: reading never
// creates nor writes, creating empties even a read-only file, opening again
// closes (and flushes) the last stream, and a file that is not open answers
// zero and does nothing.
TEST_F(ToolkitFile, WrittenBytesReadBackAndTheOpenFlagsKeepTheirPromises) {
    const std::string path = Path("TapDelayDef.fxb");
    const std::string bytes("CcnK\0\0\0\0FBCh\x80\xff", 14);
    CFile file;
    auto expectInert = [&] {
        char buffer[4] = {'a', 'b', 'c', 'd'};
        EXPECT_EQ(file.Read(buffer, 4), 0u);
        EXPECT_EQ(std::string(buffer, 4), "abcd");
        file.Write("x", 1);
        EXPECT_EQ(file.Seek(2, CFile::begin), 0u);
        EXPECT_TRUE(file.Close());
    };
    expectInert();
    EXPECT_FALSE(file.Open(path.c_str(), kReadBinary));
    EXPECT_FALSE(std::filesystem::exists(path));

    ASSERT_TRUE(file.Open(path.c_str(), kCreateWrite));
    file.Write(bytes.data(), 10);
    file.Write(bytes.data() + 10, 4);
    EXPECT_EQ(file.GetFilePath(), path.c_str());
    ASSERT_TRUE(file.Open(path.c_str(), kReadBinary));
    EXPECT_EQ(ReadBytes(path), bytes);
    EXPECT_EQ(ReadText(file, 2), "Cc");
    EXPECT_EQ(file.Seek(2, CFile::current), 4u);  // as the bank reader skips reserved bytes
    EXPECT_EQ(ReadText(file, 32), bytes.substr(4));  // only what is left
    EXPECT_EQ(ReadText(file, 32), "");
    file.Write("zz", 2);
    file.Close();
    EXPECT_EQ(ReadBytes(path), bytes);

    ASSERT_TRUE(file.Open(path.c_str(), kCreateWrite));  // empties the file without any write
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadBytes(path), "");
    expectInert();  // closing twice is safe
    // Create wins over read-write: the file is recreated, even when it was read-only.
    WriteBytes(path, "protected");
    chmod(path.c_str(), 0444);
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite));
    file.Write("new", 3);
    file.Close();
    EXPECT_EQ(ReadBytes(path), "new");
    // A failed open leaves the file closed just the same.
    EXPECT_FALSE(file.Open(Path("missing/x.bin").c_str(), kCreateWrite));
    expectInert();
    EXPECT_FALSE(file.Open(nullptr, kReadBinary));
}

TEST_F(ToolkitFile, URLAndPlainPathOpenTheSameFile) {
    ASSERT_TRUE(std::filesystem::create_directory(Path("My Bank 100%")));
    const std::string path = Path("My Bank 100%/TapDelayDef.fxb");
    WriteBytes(path, "CcnK");
    // The temp folder's own name needs no escapes; ' ' is %20 and '%' is %25.
    const std::string url = "file://" + Path("My%20Bank%20100%25/TapDelayDef.fxb");
    for (const std::string& name : {path, url}) {
        SCOPED_TRACE(name);
        CFile file;
        ASSERT_TRUE(file.Open(name.c_str(), kReadBinary));
        EXPECT_EQ(file.GetFilePath(), path.c_str());
        EXPECT_EQ(ReadText(file, 4), "CcnK");
    }
    CFile writer;
    // URLs without a file-system path open nothing and create nothing (the
    // URL forms themselves are the PathToPOSIX table's).
    EXPECT_FALSE(writer.Open("http://example.com/TapDelayDef.fxb", kReadBinary));
    EXPECT_FALSE(writer.Open(("file://otherhost" + Path("x")).c_str(), kCreateWrite));
    EXPECT_FALSE(writer.IsOpen());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(ToolkitFile, CloseReportsAWriteThatCouldNotReachTheDisk) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    CFile file;
    ASSERT_TRUE(file.Open("/dev/full", CFile::modeWrite));
    const std::string bank(17824, '\0');
    file.Write(bank.data(), unsigned(bank.size()));
    EXPECT_FALSE(file.Close());
    EXPECT_TRUE(file.WriteFailed());

    ASSERT_TRUE(file.Open(Path("fine.bin").c_str(), kCreateWrite));  // a new open starts clean
    EXPECT_FALSE(file.WriteFailed());
    file.Write("ok", 2);
    EXPECT_TRUE(file.Flush());
    EXPECT_TRUE(file.Close());
}

TEST_F(ToolkitFile, FindFileMatchesStarAndQuestionMarkOnly) {
    const std::string sub = Path("Presets [v1]/");
    ASSERT_TRUE(std::filesystem::create_directory(sub));
    WriteBytes(sub + "TapDelayDef.fxb", "CcnK");
    WriteBytes(sub + "Bank[2].fxb", "CcnK");
    CFileFind finder;
    const std::pair<std::string, bool> cases[] = {
        {sub + "TapDelayDef.fxb", true},  {"file://" + Path("Presets%20[v1]/TapDelayDef.fxb"), true},
        {sub + "*.fxb", true},            {sub + "TapDelay???.fxb", true},
        {sub + "Bank[2].fxb", true},      {sub + "Bank2.fxb", false},  // brackets are no glob class
        {sub + "*.wav", false},           {sub + "TapDelayDef.fxp", false},
        {Path("Presets v/*.fxb"), false}, {"http://" + sub + "TapDelayDef.fxb", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(finder.FindFile(c.first.c_str()), c.second) << c.first;
    EXPECT_TRUE(finder.FindFile((sub + "*.fxb").c_str()));
    EXPECT_EQ(finder.GetRoot(), sub.c_str());
    EXPECT_FALSE(finder.FindFile(nullptr));
    finder.Close();
    finder.Close();
}
