#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "toolkit/AfxMessageBox.h"
#include "toolkit/CString.h"
#include "toolkit/ResourceFolder.h"

namespace {

class TempFolder {
public:
    TempFolder() {
        char pattern[] = "/tmp/tapdelay-string-XXXXXX";
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

// Points the resource folder somewhere for one test and back afterwards.
class ResourceFolderOverride {
public:
    explicit ResourceFolderOverride(const std::string& folder) {
        AfxSetResourceFolder(folder.c_str());
    }
    ~ResourceFolderOverride() { AfxSetResourceFolder(nullptr); }
};

}  // namespace

TEST(ToolkitString, AssignsAppendsAndConverts) {
    CString text;
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(text, "");
    text = "Tap";
    text += "Delay";
    text += CString("Def");
    text += '.';
    EXPECT_STREQ(text, "TapDelayDef.");
    EXPECT_EQ(text.GetLength(), 12);
    EXPECT_TRUE(text == "TapDelayDef.");
    EXPECT_TRUE(text != "TapDelay");
    EXPECT_EQ(CString("ab") + CString("cd"), "abcd");

    text = nullptr;
    EXPECT_EQ(text.GetLength(), 0);
    text += static_cast<const char*>(nullptr);
    EXPECT_STREQ(text, "");

    text = "\x83\x66\x83\x42";  // Shift-JIS bytes are kept as they are
    EXPECT_EQ(text.GetLength(), 4);
    EXPECT_EQ(static_cast<unsigned char>(static_cast<const char*>(text)[0]), 0x83);
}

TEST(ToolkitString, FormatFollowsPrintf) {
    CString text;
    text.Format("%d:%s", 12, "Long Echo");
    EXPECT_STREQ(text, "12:Long Echo");
    text.Format("%.1f%s", 250.04, "ms");
    EXPECT_STREQ(text, "250.0ms");
    text.Format("%+.2f dB", -6.0206);
    EXPECT_STREQ(text, "-6.02 dB");
    text.Format("%05d|%-4s|%x", 42, "ab", 255);
    EXPECT_STREQ(text, "00042|ab  |ff");
    text.Format("%s", "");
    EXPECT_EQ(text.GetLength(), 0);

    const std::string longText(5000, 'q');
    text.Format("[%s]", longText.c_str());
    EXPECT_EQ(text.GetLength(), 5002);
    EXPECT_EQ(std::string(text), "[" + longText + "]");

    text = "ab";
    text.Format("%s-%s", static_cast<const char*>(text), static_cast<const char*>(text));
    EXPECT_STREQ(text, "ab-ab");
}

TEST(ToolkitString, LoadsTheBankSaveMessageFromThePluginStrings) {
    ResourceFolderOverride use(std::string(TAPDELAY_SOURCE_DIR) + "resources");
    EXPECT_EQ(std::string(AfxGetResourceFolder()),
              std::string(TAPDELAY_SOURCE_DIR) + "resources/");
    CString text;
    ASSERT_TRUE(text.LoadString(20135));
    EXPECT_GT(text.GetLength(), 0);
    EXPECT_NE(std::string(text).find("could not be saved"), std::string::npos) << text;

    CString unchanged("before");
    EXPECT_FALSE(unchanged.LoadString(20136));
    EXPECT_FALSE(unchanged.LoadString(0));
    EXPECT_STREQ(unchanged, "before");
}

TEST(ToolkitString, StringTableFormat) {
    TempFolder folder;
    ASSERT_FALSE(folder.path().empty());
    std::string longUTF8;
    for (int i = 0; i < 400; ++i) longUTF8 += "\xE3\x83\x87";  // 1200 bytes of U+30C7
    std::ofstream(folder.path() + "strings.txt", std::ios::binary)
        << "# 7\tcomment lines are skipped\n"
        << "\n"
        << "70\tseventy\r\n"
        << "7x\tnot an id\n"
        << "7\tFirst line\\nSecond\\tTabbed \\\\ back\\q\n"
        << "7\ta later duplicate\n"
        << "8 \t  spaced out\n"
        << "9\t" << longUTF8 << "\n"
        << "10\n"
        << "11\t" << std::string(1500, 'a');  // last line without newline
    ResourceFolderOverride use(folder.path().substr(0, folder.path().size() - 1));
    EXPECT_EQ(std::string(AfxGetResourceFolder()), folder.path());  // "/" appended

    CString text;
    ASSERT_TRUE(text.LoadString(7));
    EXPECT_STREQ(text, "First line\nSecond\tTabbed \\ back\\q");
    ASSERT_TRUE(text.LoadString(70));
    EXPECT_STREQ(text, "seventy");  // carriage return dropped
    ASSERT_TRUE(text.LoadString(8));
    EXPECT_STREQ(text, "spaced out");
    ASSERT_TRUE(text.LoadString(10));
    EXPECT_STREQ(text, "");

    // Longer texts are cut to 1023 bytes, and back to a whole UTF-8 character.
    ASSERT_TRUE(text.LoadString(11));
    EXPECT_EQ(text.GetLength(), 1023);
    ASSERT_TRUE(text.LoadString(9));
    EXPECT_EQ(text.GetLength(), 1023 / 3 * 3);
    EXPECT_EQ(std::string(text), longUTF8.substr(0, 1023 / 3 * 3));

    text = "kept";
    EXPECT_FALSE(text.LoadString(12));
    EXPECT_STREQ(text, "kept");
}

TEST(ToolkitString, MissingStringTableLoadsNothing) {
    TempFolder folder;
    ResourceFolderOverride use(folder.path());
    CString text("kept");
    EXPECT_FALSE(text.LoadString(20135));
    EXPECT_STREQ(text, "kept");
}

TEST(ToolkitString, ResourceFolderDefaultsToTheModulesOwnFolder) {
    AfxSetResourceFolder(nullptr);
    // The toolkit is linked into this test program, so its folder is the program's.
    char program[PATH_MAX];
    ASSERT_TRUE(realpath("/proc/self/exe", program));
    std::string expected = program;
    expected = expected.substr(0, expected.rfind('/') + 1);
    EXPECT_EQ(std::string(AfxGetResourceFolder()), expected);
}

namespace {

std::string shownText;
unsigned shownType = 0;
int RecordMessage(const char* text, unsigned type, unsigned) {
    shownText = text;
    shownType = type;
    return IDCANCEL;
}

}  // namespace

TEST(ToolkitString, MessageBoxGoesToTheInstalledHandler) {
    const AfxMessageBoxHandler previous = AfxSetMessageBoxHandler(&RecordMessage);
    EXPECT_EQ(AfxMessageBox("The bank could not be saved.", MB_OK | MB_ICONERROR), IDCANCEL);
    EXPECT_EQ(shownText, "The bank could not be saved.");
    EXPECT_EQ(shownType, MB_ICONERROR);
    EXPECT_EQ(AfxMessageBox(nullptr), IDCANCEL);
    EXPECT_EQ(shownText, "");
    EXPECT_EQ(AfxSetMessageBoxHandler(previous), &RecordMessage);

    // The default handler only logs and answers OK.
    AfxSetMessageBoxHandler(nullptr);
    shownText = "untouched";
    EXPECT_EQ(AfxMessageBox("logged to stderr"), IDOK);
    EXPECT_EQ(shownText, "untouched");
    AfxSetMessageBoxHandler(previous);
}
