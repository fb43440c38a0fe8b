#include "engine/names.h"

#include "base/unicode_hex.h"
#include "sandbox.h"

namespace relay_hub::engine {
namespace {

constexpr char kRefused[] = "(refused)";

TEST(EngineNames, PathsOnTheWire) {
    const std::tuple<Style, const char*, const char*> cases[] = {
        {Style::kWindows, "C:\\", ""},
        {Style::kWindows, "c:\\a\\b c\\", "a/b c"},
        {Style::kWindows, "C:\\a/b\\\\c", "a/b/c"},
        {Style::kWindows, "C:\\a\\.\\b\\..\\c", "a/c"},
        {Style::kWindows, "C:/../etc", kRefused},
        {Style::kWindows, "C:a", kRefused},
        {Style::kWindows, "D:\\a", kRefused},
        {Style::kWindows, "/etc/passwd", kRefused},
        {Style::kWindows, "", kRefused},
        {Style::kDrives, "d:\\a\\..\\b", "D:/b"},
        {Style::kDrives, "C:", "C:"},
        {Style::kDrives, "C:\\..\\D:", kRefused},
        {Style::kDrives, "\\a", kRefused},
        {Style::kPosix, "/", ""},
        {Style::kPosix, "//a//b/", "a/b"},
        {Style::kPosix, "/a\\b", "a\\b"},
        {Style::kPosix, "/a/../../etc", kRefused},
    };
    for (const auto& [style, wire, inner] : cases)
        EXPECT_EQ(inner_path(style, wire).value_or(kRefused), inner) << wire;
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
    for (const char* name : {"a.", "a "}) {
        EXPECT_FALSE(keeps_name(Style::kDrives, name)) << name;
        EXPECT_TRUE(keeps_name(Style::kPosix, name)) << name;
    }
    EXPECT_TRUE(keeps_name(Style::kDrives, ".a b"));
}

TEST(EngineNames, HexIsDecodedOrRefused) {
    const std::pair<const char*, const char*> cases[] = {
        {"43003A005C006100", "C:\\a"}, {"e900", "é"},          {"3DD800DE", "😀"},  {"", kRefused},
        {"4100420", kRefused},         {"41004X00", kRefused}, {"0000", kRefused}, {"3DD8", kRefused},
        {"00DE3DD8", kRefused}};
    for (const auto& [hex, text] : cases)
        EXPECT_EQ(text_from_utf16_hex(hex).value_or(kRefused), text) << hex;
    EXPECT_EQ(utf16_hex("C:\\é😀"), "43003A005C00E9003DD800DE");
    EXPECT_EQ(utf16_hex("\xff"), "");
}

TEST(EngineNames, TheMeantTextSurvivesTheFrontEndsHex) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"/ab", "2F0061006200", "/ab"},  // both say the same
        {"/😀", "2F0001F6", "/😀"},        // the hex lost what is above U+FFFF
        {"/\xe9", "2F00E900", "/é"},     // plain in another code page
        {"/ab", "2F0", "/ab"},           // malformed hex
        {"/ab", "", "/ab"},
        {"", "2F0061006200", "/ab"},
        {"", "zz", kRefused},
    };
    for (const auto& [plain, hex, meant] : cases)
        EXPECT_EQ(meant_text(plain, hex).value_or(kRefused), meant) << hex;
}

}  // namespace
}  // namespace relay_hub::engine
