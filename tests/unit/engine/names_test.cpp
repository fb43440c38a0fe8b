#include "engine/names.h"

#include <gtest/gtest.h>

#include "base/unicode_hex.h"

namespace relay_hub::engine {
namespace {

TEST(EngineNames, PathsOnTheWire) {
    const struct {
        Style style;
        const char* wire;
        const char* inner;  // null: refused
    } cases[] = {
        {Style::kWindows, "C:\\", ""},
        {Style::kWindows, "c:\\a\\b c\\", "a/b c"},
        {Style::kWindows, "C:\\a/b\\\\c", "a/b/c"},
        {Style::kWindows, "C:\\a\\.\\b\\..\\c", "a/c"},
        {Style::kWindows, "C:\\..", nullptr},
        {Style::kWindows, "C:\\a\\..\\..\\etc", nullptr},
        {Style::kWindows, "C:/../etc", nullptr},
        {Style::kWindows, "C:a", nullptr},
        {Style::kWindows, "D:\\a", nullptr},
        {Style::kWindows, "/etc/passwd", nullptr},
        {Style::kWindows, "", nullptr},
        {Style::kDrives, "d:\\a\\..\\b", "D:/b"},
        {Style::kDrives, "C:\\", "C:"},
        {Style::kDrives, "C:", "C:"},
        {Style::kDrives, "C:\\..\\D:", nullptr},
        {Style::kDrives, "C:a", nullptr},
        {Style::kDrives, "\\a", nullptr},
        {Style::kPosix, "/", ""},
        {Style::kPosix, "//a//b/", "a/b"},
        {Style::kPosix, "/a\\b", "a\\b"},
        {Style::kPosix, "/a/../../etc", nullptr},
        {Style::kPosix, "C:\\a", nullptr},
    };
    for (const auto& item : cases) {
        const auto inner = inner_path(item.style, item.wire);
        EXPECT_EQ(inner.value_or("(refused)"), item.inner != nullptr ? item.inner : "(refused)") << item.wire;
    }
    EXPECT_FALSE(inner_path(Style::kPosix, std::string("/a\0b", 4)));
    EXPECT_EQ(wire_path(Style::kWindows, "a/b"), "C:\\a\\b");
    EXPECT_EQ(wire_path(Style::kPosix, ""), "/");
    EXPECT_EQ(wire_path(Style::kDrives, "D:"), "D:\\");
    EXPECT_EQ(wire_path(Style::kDrives, "D:/a/b"), "D:\\a\\b");
}

TEST(EngineNames, OnlyWhatTheWireCarriesTravels) {
    for (const char* name : {"a b", "...", "\u540D\U0001F389", "a:b"})
        EXPECT_TRUE(can_travel(Style::kWindows, name)) << name;
    for (const char* name : {"", ".", "..", "a/b", "a\\b", "a\x1f", "a\x7f", "\xff"})
        EXPECT_FALSE(can_travel(Style::kWindows, name)) << name;
    EXPECT_TRUE(can_travel(Style::kPosix, "a\\b"));
}

TEST(EngineNames, HexIsDecodedOrRefused) {
    const struct {
        const char* hex;
        const char* text;
    } cases[] = {{"43003A005C006100", "C:\\a"}, {"e900", "é"},         {"3DD800DE", "😀"}, {"", nullptr},
                 {"4100420", nullptr},          {"41004X00", nullptr}, {"0000", nullptr}, {"3DD8", nullptr},
                 {"00DE3DD8", nullptr}};
    for (const auto& item : cases)
        EXPECT_EQ(text_from_utf16_hex(item.hex).value_or("(refused)"),
                  item.text != nullptr ? item.text : "(refused)")
            << item.hex;
    EXPECT_EQ(utf16_hex("C:\\é😀"), "43003A005C00E9003DD800DE");
    EXPECT_EQ(utf16_hex("\xff"), "");
}

TEST(EngineNames, TheMeantTextSurvivesTheFrontEndsHex) {
    const struct {
        const char* plain;
        const char* hex;
        const char* meant;
    } cases[] = {
        {"/ab", "2F0061006200", "/ab"},  // both say the same
        {"/😀", "2F0001F6", "/😀"},        // the hex lost what is above U+FFFF
        {"/\xe9", "2F00E900", "/é"},     // plain in another code page
        {"/ab", "2F0", "/ab"},           // malformed hex
        {"/ab", "", "/ab"},
        {"", "2F0061006200", "/ab"},
        {"", "zz", "(nothing)"},
    };
    for (const auto& item : cases)
        EXPECT_EQ(meant_text(item.plain, item.hex).value_or("(nothing)"), item.meant) << item.hex;
}

}  // namespace
}  // namespace relay_hub::engine
