// CString's string table behind LoadString, and Format.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/PluginUnderTest.h"
#include "toolkit/CString.h"
#include "toolkit/ResourceFolder.h"

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
    AfxSetResourceFolder(folder.path().substr(0, folder.path().size() - 1).c_str());
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
    AfxSetResourceFolder(nullptr);

    // Format follows printf at any length (a bitmap's path holds the folder's).
    const std::string longText(5000, 'q');
    text.Format("%s/bmp%05d.png", longText.c_str(), 42);
    EXPECT_EQ(std::string(text), longText + "/bmp00042.png");
}
