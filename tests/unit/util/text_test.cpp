// Paths, times, sizes, texts and the unicode-hex form.
#include <gtest/gtest.h>

#include "base/translated_text.h"
#include "util/path_time_text.h"

namespace {

TEST(Text, resolves_paths_onto_the_prefix) {
    const std::string long_name(5000, 'n');
    const struct {
        std::string path, prefix, resolved;
    } cases[] = {
        {"/a/b/../c/./d", "", "a/c/d/"},
        {"/a/b/../c/./d", "/", "/a/c/d/"},
        {"../../a", "/", "/a/"},
        {"//a///b//", "/", "/a/b/"},
        {"/..x/.y/...", "", "..x/.y/.../"},
        {"/", "/", "/"},
        {"", "/", "/"},
        {"/" + long_name + "/./x/..", "/", "/" + long_name + "/"},
    };
    for (const auto& each : cases) {
        std::string resolved = each.prefix;
        EXPECT_EQ(ConvertToRealPath(each.path.c_str(), "/", resolved, "/"), 0);
        EXPECT_EQ(resolved, each.resolved) << each.path;
    }
}

TEST(Text, tells_roots_and_drive_paths) {
    const struct {
        const char* path;
        int root, platform;
    } cases[] = {{"", 1, 2},   {"/", 0, 0},  {"C:", 0, 1},  {"c:\\", 0, 1}, {"C:\\x", 1, 1},    {"CD", 1, 0},
                 {"1:", 1, 0}, {"|:", 1, 1}, {"C:/", 1, 1}, {"/C:", 1, 0},  {"C:\\x\xff", 1, 1}};
    for (const auto& each : cases) {
        EXPECT_EQ(check_root_path(each.path), each.root) << each.path;
        EXPECT_EQ(check_path_for_platform(each.path), each.platform) << each.path;
    }
}

TEST(Text, converts_times) {
    _filetime filetime{0xD53E8000U, 0x019DB1DEU};  // 1970-01-01
    std::time_t seconds = -1;
    EXPECT_EQ(ms_filetime_to_timet(&filetime, &seconds), 0);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(convert_to_timet_for_link_engine(1700000000), 1700000000);
    EXPECT_EQ(convert_to_timet_for_link_engine(0x1'FFFFFFFFULL), 0);
    EXPECT_EQ(convert_to_timet_for_link_engine(0x1'7FFFFFFFULL), INT32_MIN);
}

TEST(Text, fills_arguments_and_nothing_else) {
    EXPECT_EQ(relay_hub::fill_text("%s of %s, %d %% %n", {"1", "%s"}), "1 of %s, %d % %n");
    EXPECT_EQ(relay_hub::fill_text("%s%s", {"a"}), "a");
    EXPECT_EQ(relay_hub::fill_text("%", {"a"}), "%");
}

TEST(UnicodeHex, writes_the_low_byte_first) {
    const std::pair<const char*, const char*> cases[] = {
        {"ab", "61006200"}, {"é", "E900"},          {"C:\\a", "43003A005C006100"},
        {"文", "8765"},     {"\U0001F600", "01F6"}, {"\U0001F6FF", "100F"},
        {"", ""},           {"a\xff", ""}};
    for (const auto& [text, hex] : cases)
        EXPECT_EQ(relay_hub::unicode_hex(text), hex) << text;
    for (const char* text : {"ab", "é", "a/文\\", ""})
        EXPECT_EQ(relay_hub::text_from_unicode_hex(relay_hub::unicode_hex(text)), text);
}

}  // namespace
