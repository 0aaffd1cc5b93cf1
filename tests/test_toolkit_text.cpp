#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "toolkit/TextConvert.h"

namespace {

// "ディレイ" (U+30C7 U+30A3 U+30EC U+30A4) in both encodings, taken from the
// JIS X 0208 table (row 5, cells 0x47, 0x23, 0x6C, 0x24) and the UTF-8 rules.
const char kDelaySJIS[] = "\x83\x66\x83\x42\x83\x8C\x83\x43";
const char kDelayUTF8[] = "\xE3\x83\x87\xE3\x82\xA3\xE3\x83\xAC\xE3\x82\xA4";
// "遅延" (U+9045 JIS 0x4359, U+5EF6 JIS 0x3164).
const char kKanjiSJIS[] = "\x92\x78\x89\x84";
const char kKanjiUTF8[] = "\xE9\x81\x85\xE5\xBB\xB6";

std::string ToPOSIX(const char* src, bool* isURL = nullptr) {
    char dst[kMaxPOSIXPathBytes];
    std::strcpy(dst, "<untouched>");
    const bool result = PathToPOSIX(dst, src);
    if (isURL) *isURL = result;
    return dst;
}

std::string ToDisplay(const char* src, bool* converted = nullptr) {
    char dst[256];
    std::memset(dst, '#', sizeof dst);
    const bool result = CheckSJISAndToUFT8(src, dst);
    if (converted) *converted = result;
    return dst;
}

}  // namespace

TEST(ToolkitText, FileURLsBecomePOSIXPaths) {
    bool isURL = false;
    EXPECT_EQ(ToPOSIX("file:///home/a%20b/x.fxb", &isURL), "/home/a b/x.fxb");
    EXPECT_TRUE(isURL);
    EXPECT_EQ(ToPOSIX("file://localhost/Users/me/Library/Preferences/TapDelayDef.fxb"),
              "/Users/me/Library/Preferences/TapDelayDef.fxb");
    EXPECT_EQ(ToPOSIX("FILE://LocalHost/tmp/x"), "/tmp/x");
    EXPECT_EQ(ToPOSIX("file:/tmp/one%2fslash"), "/tmp/one/slash");
    EXPECT_EQ(ToPOSIX("file:///tmp/%E3%83%87%e3%82%a3"), "/tmp/\xE3\x83\x87\xE3\x82\xA3");
    EXPECT_EQ(ToPOSIX("file:///tmp/100%25%3F/"), "/tmp/100%?/");
    EXPECT_EQ(ToPOSIX("file:///tmp/x.fxb?query#fragment"), "/tmp/x.fxb");
    // Unescaped UTF-8, as a folder text in the system encoding may carry it.
    EXPECT_EQ(ToPOSIX("file:///tmp/\xE3\x83\x87"), "/tmp/\xE3\x83\x87");
}

TEST(ToolkitText, PlainPathsPassThrough) {
    bool isURL = true;
    EXPECT_EQ(ToPOSIX("/home/a%20b/x.fxb", &isURL), "/home/a%20b/x.fxb");
    EXPECT_FALSE(isURL);
    EXPECT_EQ(ToPOSIX("TapDelayDef.fxb", &isURL), "TapDelayDef.fxb");
    EXPECT_FALSE(isURL);
    EXPECT_EQ(ToPOSIX("./a:b", &isURL), "./a:b");
    EXPECT_FALSE(isURL);
    EXPECT_EQ(ToPOSIX("", &isURL), "");
    EXPECT_FALSE(isURL);

    // Copies are cut to the room given.
    char small[8];
    EXPECT_FALSE(PathToPOSIX(small, sizeof small, "/0123456789"));
    EXPECT_STREQ(small, "/012345");
}

TEST(ToolkitText, URLsWithoutAFileSystemPathLeaveTheTargetAlone) {
    for (const char* url : {"http://example.com/x.fxb", "file://otherhost/tmp/x",
                            "file:///tmp/bad%zz", "file:///tmp/cut%4", "file:///tmp/nul%00x",
                            "file://localhost", "file:relative/x", "file:"}) {
        SCOPED_TRACE(url);
        bool isURL = false;
        EXPECT_EQ(ToPOSIX(url, &isURL), "<untouched>");
        EXPECT_TRUE(isURL);
    }
    // A path that does not fit in the room given.
    const std::string longURL = "file:///" + std::string(kMaxPOSIXPathBytes, 'a');
    EXPECT_EQ(ToPOSIX(longURL.c_str()), "<untouched>");
    char small[8] = "keep";
    EXPECT_TRUE(PathToPOSIX(small, sizeof small, "file:///01234567"));
    EXPECT_STREQ(small, "keep");
    EXPECT_TRUE(PathToPOSIX(small, sizeof small, "file:///012345"));
    EXPECT_STREQ(small, "/012345");
}

TEST(ToolkitText, ShiftJISNamesBecomeUTF8) {
    bool converted = false;
    EXPECT_EQ(ToDisplay(kDelaySJIS, &converted), kDelayUTF8);
    EXPECT_TRUE(converted);
    EXPECT_EQ(ToDisplay(kKanjiSJIS), kKanjiUTF8);
    EXPECT_EQ(ToDisplay("\xB1"), "\xEF\xBD\xB1");              // half-width katakana
    EXPECT_EQ(ToDisplay("Tap \x83\x66\\~"), "Tap \xE3\x83\x87\\~");  // ASCII stays ASCII
    EXPECT_EQ(ToDisplay("\x87\x40"), "\xE2\x91\xA0");          // NEC circled digit one
}

TEST(ToolkitText, UTF8AndUndecodableTextIsCopiedUnchanged) {
    bool converted = true;
    EXPECT_EQ(ToDisplay("Long Echo 1", &converted), "Long Echo 1");
    EXPECT_FALSE(converted);
    EXPECT_EQ(ToDisplay(kDelayUTF8, &converted), kDelayUTF8);
    EXPECT_FALSE(converted);
    // Valid UTF-8 wins even where the bytes would also read as Shift-JIS.
    EXPECT_EQ(ToDisplay("caf\xC3\xA9"), "caf\xC3\xA9");
    EXPECT_EQ(ToDisplay(""), "");
    for (const char* invalid : {"\x81\x20", "\xFF\xFE", "name\x83", "\x80"}) {
        SCOPED_TRACE(invalid);
        EXPECT_EQ(ToDisplay(invalid, &converted), invalid);
        EXPECT_FALSE(converted);
    }
    EXPECT_EQ(ToDisplay(nullptr), "");
}

TEST(ToolkitText, DisplayTextIsCutToTheRoomGivenOnCharacterBoundaries) {
    char dst[8];
    EXPECT_TRUE(CheckSJISAndToUFT8(kDelaySJIS, dst, sizeof dst));
    EXPECT_STREQ(dst, "\xE3\x83\x87\xE3\x82\xA3");  // two whole characters fit in 7 bytes
    EXPECT_FALSE(CheckSJISAndToUFT8(kDelayUTF8, dst, sizeof dst));
    EXPECT_STREQ(dst, "\xE3\x83\x87\xE3\x82\xA3");
    EXPECT_FALSE(CheckSJISAndToUFT8("0123456789", dst, sizeof dst));
    EXPECT_STREQ(dst, "0123456");

    // Half-width katakana take three UTF-8 bytes for one: the two-argument form's room.
    const std::string katakana(23, '\xB1');
    char room[23 * 3 + 1];
    EXPECT_TRUE(CheckSJISAndToUFT8(katakana.c_str(), room));
    EXPECT_EQ(std::strlen(room), 23u * 3);
}

TEST(ToolkitText, UTF8BecomesShiftJISOrNothing) {
    const char* sjis = UTF8ToSJSINS(kDelayUTF8);
    ASSERT_NE(sjis, nullptr);
    EXPECT_STREQ(sjis, kDelaySJIS);
    ASSERT_NE(UTF8ToSJSINS(kKanjiUTF8), nullptr);
    EXPECT_STREQ(UTF8ToSJSINS(kKanjiUTF8), kKanjiSJIS);
    EXPECT_STREQ(UTF8ToSJSINS("Tap Delay \\~ 1"), "Tap Delay \\~ 1");
    EXPECT_STREQ(UTF8ToSJSINS("\xEF\xBD\xB1"), "\xB1");
    EXPECT_STREQ(UTF8ToSJSINS(""), "");

    EXPECT_EQ(UTF8ToSJSINS("\xF0\x9F\x98\x80"), nullptr);        // an emoji
    EXPECT_EQ(UTF8ToSJSINS("Echo \xF0\x9F\x98\x80"), nullptr);   // any part of it
    EXPECT_EQ(UTF8ToSJSINS("caf\xC3\xA9"), nullptr);             // no accented Latin
    EXPECT_EQ(UTF8ToSJSINS("\x83\x66"), nullptr);                // not UTF-8
    EXPECT_EQ(UTF8ToSJSINS("\xED\xA0\x80"), nullptr);            // a surrogate
    EXPECT_EQ(UTF8ToSJSINS(nullptr), nullptr);
}

TEST(ToolkitText, ShiftJISRoundTrip) {
    for (const char* name : {kDelayUTF8, kKanjiUTF8, "Init", "\xEF\xBD\xB1\xEF\xBD\xB2 2"}) {
        SCOPED_TRACE(name);
        const char* sjis = UTF8ToSJSINS(name);
        ASSERT_NE(sjis, nullptr);
        EXPECT_EQ(ToDisplay(sjis), name);
    }
}

TEST(ToolkitText, ShiftJISBufferBelongsToTheCallingThread) {
    const char* mine = UTF8ToSJSINS(kDelayUTF8);
    ASSERT_NE(mine, nullptr);
    std::thread other([] { UTF8ToSJSINS("another thread's text, long enough to reallocate"); });
    other.join();
    EXPECT_STREQ(mine, kDelaySJIS);
}

TEST(ToolkitText, EveryHighBitByteCountsAsLeadByte) {
    for (int b = 0; b < 256; ++b) EXPECT_EQ(IsDBCSLeadByte(static_cast<unsigned char>(b)), b >= 0x80) << b;
}

TEST(ToolkitText, StricmpComparesIgnoringASCIICase) {
    EXPECT_EQ(stricmp("TapDelayDef.FXB", "tapdelaydef.fxb"), 0);
    EXPECT_EQ(stricmp("", ""), 0);
    EXPECT_LT(stricmp("apple", "Banana"), 0);  // strcmp would order these the other way
    EXPECT_GT(stricmp("Banana", "apple"), 0);
    EXPECT_LT(stricmp("abc", "ABCD"), 0);
    EXPECT_GT(stricmp("abcd", "ABC"), 0);
    EXPECT_LT(stricmp("_", "A"), 0);  // letters compare as lower case: '_' < 'a'
    EXPECT_GT(stricmp("\x80", "z"), 0);  // other bytes by unsigned value
    EXPECT_NE(stricmp("\xC3\xA9", "\xC3\x89"), 0);  // no case folding beyond ASCII
    EXPECT_LT(stricmp(nullptr, "a"), 0);
    EXPECT_EQ(stricmp(nullptr, nullptr), 0);
}

TEST(ToolkitText, ZeroMemoryClearsExactlyTheRange) {
    unsigned char bytes[8];
    std::memset(bytes, 0xAB, sizeof bytes);
    ZeroMemory(bytes + 2, 4);
    const unsigned char expected[8] = {0xAB, 0xAB, 0, 0, 0, 0, 0xAB, 0xAB};
    EXPECT_EQ(std::memcmp(bytes, expected, 8), 0);
    ZeroMemory(nullptr, 4);  // nothing to clear
}
