// File URLs to POSIX paths, Shift-JIS and UTF-8 conversions of program
// names, and the case-insensitive comparison.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "toolkit/TextConvert.h"

namespace {

// "ディレイ" (U+30C7 U+30A3 U+30EC U+30A4) in both encodings, taken from the
// JIS X 0208 table (row 5, cells 0x47, 0x23, 0x6C, 0x24) and the UTF-8 rules.
const char kDelaySJIS[] = "\x83\x66\x83\x42\x83\x8C\x83\x43";
const char kDelayUTF8[] = "\xE3\x83\x87\xE3\x82\xA3\xE3\x83\xAC\xE3\x82\xA4";
// "遅延" (U+9045 JIS 0x4359, U+5EF6 JIS 0x3164).
const char kKanjiSJIS[] = "\x92\x78\x89\x84";
const char kKanjiUTF8[] = "\xE9\x81\x85\xE5\xBB\xB6";

// With no room given, the two-argument form.
std::string ToDisplay(const char* src, bool* converted = nullptr, size_t room = 0) {
    char dst[256];
    std::memset(dst, '#', sizeof dst);
    const bool result = room ? CheckSJISAndToUFT8(src, dst, room) : CheckSJISAndToUFT8(src, dst);
    if (converted) *converted = result;
    return dst;
}

}  // namespace

TEST(ToolkitText, PathToPOSIX) {
    struct Case {
        std::string src, expected;  // "<untouched>": the target is left as it was
        bool isURL;
    };
    const Case cases[] = {
        {"file:///home/a%20b/x.fxb", "/home/a b/x.fxb", true},
        {"file://localhost/Users/me/TapDelayDef.fxb", "/Users/me/TapDelayDef.fxb", true},
        {"FILE://LocalHost/tmp/x", "/tmp/x", true},            {"file:/tmp/one%2fslash", "/tmp/one/slash", true},
        {"file:///tmp/100%25%3F/", "/tmp/100%?/", true},       {"file:///tmp/x.fxb?query#fragment", "/tmp/x.fxb", true},
        {"file:///tmp/%E3%83%87%e3%82%a3", "/tmp/\xE3\x83\x87\xE3\x82\xA3", true},
        {"file:///tmp/\xE3\x83\x87", "/tmp/\xE3\x83\x87", true},  // unescaped UTF-8
        // Plain paths pass through.
        {"/home/a%20b/x.fxb", "/home/a%20b/x.fxb", false}, {"TapDelayDef.fxb", "TapDelayDef.fxb", false},
        {"./a:b", "./a:b", false},                         {"", "", false},
        // URLs without a file-system path, the last one too long.
        {"http://example.com/x.fxb", "<untouched>", true}, {"file://otherhost/tmp/x", "<untouched>", true},
        {"file:///tmp/bad%zz", "<untouched>", true},       {"file:///tmp/cut%4", "<untouched>", true},
        {"file:///tmp/nul%00x", "<untouched>", true},      {"file://localhost", "<untouched>", true},
        {"file:relative/x", "<untouched>", true},          {"file:", "<untouched>", true},
        {"file:///" + std::string(kMaxPOSIXPathBytes, 'a'), "<untouched>", true},
    };
    for (const Case& c : cases) {
        char dst[kMaxPOSIXPathBytes] = "<untouched>";
        EXPECT_EQ(PathToPOSIX(dst, c.src.c_str()), c.isURL) << c.src;
        EXPECT_EQ(std::string(dst), c.expected) << c.src;
    }
    // The room given: a plain path is cut, a URL path that does not fit leaves the target.
    char small[8] = "keep";
    EXPECT_TRUE(PathToPOSIX(small, sizeof small, "file:///01234567"));
    EXPECT_STREQ(small, "keep");
    EXPECT_TRUE(PathToPOSIX(small, sizeof small, "file:///012345"));
    EXPECT_STREQ(small, "/012345");
    EXPECT_FALSE(PathToPOSIX(small, sizeof small, "/0123456789"));
    EXPECT_STREQ(small, "/012345");
}

TEST(ToolkitText, ShiftJISBecomesUTF8AndEverythingElseIsCopiedCutToTheRoom) {
    struct Case {
        const char* src;
        const char* shown;
        bool converted;
        size_t room = 0;
    };
    const Case cases[] = {
        {kDelaySJIS, kDelayUTF8, true},    {kKanjiSJIS, kKanjiUTF8, true},
        {"\xB1", "\xEF\xBD\xB1", true},     // half-width katakana
        {"\x87\x40", "\xE2\x91\xA0", true}, // NEC circled digit one
        {"Tap \x83\x66\\~", "Tap \xE3\x83\x87\\~", true},  // ASCII stays ASCII
        // UTF-8 (even where it would also read as Shift-JIS) and undecodable text are copied.
        {"Long Echo 1", "Long Echo 1", false}, {kDelayUTF8, kDelayUTF8, false}, {"caf\xC3\xA9", "caf\xC3\xA9", false},
        {"", "", false},                       {"\x81\x20", "\x81\x20", false}, {"\xFF\xFE", "\xFF\xFE", false},
        {"name\x83", "name\x83", false},       {"\x80", "\x80", false},
        // Cut to the room given (8 bytes) on character boundaries: two whole characters fit.
        {kDelaySJIS, "\xE3\x83\x87\xE3\x82\xA3", true, 8}, {kDelayUTF8, "\xE3\x83\x87\xE3\x82\xA3", false, 8},
        {"0123456789", "0123456", false, 8},
    };
    for (const Case& c : cases) {
        bool converted = !c.converted;
        EXPECT_EQ(ToDisplay(c.src, &converted, c.room), c.shown) << c.src;
        EXPECT_EQ(converted, c.converted) << c.src;
    }
    EXPECT_EQ(ToDisplay(nullptr), "");

    // Half-width katakana take three UTF-8 bytes for one: the two-argument form's room.
    const std::string katakana(23, '\xB1');
    char room[23 * 3 + 1];
    EXPECT_TRUE(CheckSJISAndToUFT8(katakana.c_str(), room));
    EXPECT_EQ(std::strlen(room), 23u * 3);
}

TEST(ToolkitText, UTF8BecomesShiftJISOrNothing) {
    // Emoji (or any part of a text being one), accented Latin, text that is
    // not UTF-8 and surrogates have no Shift-JIS form.
    const std::pair<const char*, const char*> cases[] = {
        {kDelayUTF8, kDelaySJIS},   {kKanjiUTF8, kKanjiSJIS},     {"Tap Delay \\~ 1", "Tap Delay \\~ 1"},
        {"\xEF\xBD\xB1", "\xB1"},    {"", ""},                     {"\xF0\x9F\x98\x80", nullptr},
        {"Echo \xF0\x9F\x98\x80", nullptr}, {"caf\xC3\xA9", nullptr}, {"\x83\x66", nullptr},
        {"\xED\xA0\x80", nullptr},     {nullptr, nullptr},
    };
    for (const auto& c : cases)
        EXPECT_STREQ(UTF8ToSJSINS(c.first), c.second) << c.first;  // null equals only null
    // And back again.
    for (const char* name : {kDelayUTF8, kKanjiUTF8, "Init", "\xEF\xBD\xB1\xEF\xBD\xB2 2"}) {
        const char* sjis = UTF8ToSJSINS(name);
        ASSERT_NE(sjis, nullptr) << name;
        EXPECT_EQ(ToDisplay(sjis), name);
    }
}

// The plug-in compares a display text with "-0.0"; letters compare as
// lower case, with no folding beyond ASCII.
TEST(ToolkitText, StricmpComparesIgnoringASCIICase) {
    EXPECT_EQ(stricmp("-0.0", "-0.0"), 0);
    EXPECT_EQ(stricmp("TapDelayDef.FXB", "tapdelaydef.fxb"), 0);
    EXPECT_LT(stricmp("-0.0", "-0.01"), 0);
    EXPECT_GT(stricmp("\xC3\xA9", "\xC3\x89"), 0);
}
