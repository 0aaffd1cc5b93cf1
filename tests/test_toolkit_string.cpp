// CString, the string table behind LoadString and the resource folder. The
// message box handler is the effect tests' way of seeing the plug-in's alerts.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>

#include <fstream>
#include <string>

#include "tests/support/PluginUnderTest.h"
#include "toolkit/CString.h"
#include "toolkit/ResourceFolder.h"

namespace {

// Points the resource folder somewhere for one test and back afterwards.
class ResourceFolderOverride {
public:
    explicit ResourceFolderOverride(const std::string& folder) { AfxSetResourceFolder(folder.c_str()); }
    ~ResourceFolderOverride() { AfxSetResourceFolder(nullptr); }
};

}  // namespace

TEST(ToolkitString, FormatFollowsPrintfAtAnyLengthAndMayReadItsOwnText) {
    CString text;
    text.Format("%d:%s %+.2f dB", 12, "Long Echo", -6.0206);
    EXPECT_STREQ(text, "12:Long Echo -6.02 dB");

    const std::string longText(5000, 'q');
    text.Format("[%s]", longText.c_str());
    EXPECT_EQ(std::string(text), "[" + longText + "]");

    text = "ab";
    text.Format("%s-%s", static_cast<const char*>(text), static_cast<const char*>(text));
    EXPECT_STREQ(text, "ab-ab");
}

TEST(ToolkitString, LoadsTheBankSaveMessageFromThePluginStrings) {
    ResourceFolderOverride use(std::string(TAPDELAY_SOURCE_DIR) + "resources");
    EXPECT_EQ(std::string(AfxGetResourceFolder()), std::string(TAPDELAY_SOURCE_DIR) + "resources/");
    CString text;
    ASSERT_TRUE(text.LoadString(20135));
    EXPECT_NE(std::string(text).find("could not be saved"), std::string::npos) << text;

    CString unchanged("before");
    EXPECT_FALSE(unchanged.LoadString(20136));
    EXPECT_FALSE(unchanged.LoadString(0));
    EXPECT_STREQ(unchanged, "before");
}

TEST(ToolkitString, StringTableFormatAndNoTable) {
    TempFolder folder;
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

    const std::pair<unsigned, std::string> cases[] = {
        {7, "First line\nSecond\tTabbed \\ back\\q"},
        {70, "seventy"},  // carriage return dropped
        {8, "spaced out"},
        {10, ""},
        {11, std::string(1023, 'a')},                      // cut to 1023 bytes ...
        {9, longUTF8.substr(0, 1023 / 3 * 3)},             // ... and back to a whole character
    };
    CString text;
    for (const auto& c : cases) {
        ASSERT_TRUE(text.LoadString(c.first)) << c.first;
        EXPECT_EQ(std::string(text), c.second) << c.first;
    }
    text = "kept";
    EXPECT_FALSE(text.LoadString(12));
    EXPECT_STREQ(text, "kept");
    // Without a table nothing loads.
    TempFolder empty;
    AfxSetResourceFolder(empty.path().c_str());
    EXPECT_FALSE(text.LoadString(20135));
    EXPECT_STREQ(text, "kept");
}

TEST(ToolkitString, ResourceFolderDefaultsToTheModulesOwnFolder) {
    AfxSetResourceFolder(nullptr);
    // The toolkit is linked into this test program, so its folder is the program's.
    char program[PATH_MAX];
    ASSERT_TRUE(realpath("/proc/self/exe", program));
    const std::string path = program;
    EXPECT_EQ(std::string(AfxGetResourceFolder()), path.substr(0, path.rfind('/') + 1));
}
