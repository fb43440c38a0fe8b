// Paths, times, sizes, texts and the unicode-hex form.
#include <glib.h>

#include <random>

#include "base/glib_owners.h"
#include "base/name_order.h"
#include "base/path_text.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "sandbox.h"
#include "util/ansi_unicode_hex.h"
#include "util/path_kind.h"
#include "util/path_stack.h"
#include "util/time_and_size.h"

namespace {

using namespace relay_hub;

TEST(Text, shows_foreign_bytes_with_nothing_that_misleads) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"plain Grüße שלום", "plain Grüße שלום", "plain Grüße שלום"},
        {"a\u202Eb\u202C", "a\\u202Eb\\u202C", "a\\u202Eb\\u202C"},
        {"\u2066a\u2069\u2028", "\\u2066a\\u2069\\u2028", "\\u2066a\\u2069\\u2028"},
        {"a\nb\tc\x1b[2J\x7f\u0085", "a\\u000Ab\\u0009c\\u001B[2J\\u007F\\u0085",
         "a\nb\tc\\u001B[2J\\u007F\\u0085"},
        {"a\r\nb\rc", "a\\u000D\\u000Ab\\u000Dc", "a\nb\\u000Dc"},
        {"a\xff\n", "a\uFFFD\\u000A", "a\uFFFD\n"},
    };
    for (const auto& [bytes, line, message] : cases) {
        EXPECT_EQ(shown_text(bytes), line);
        EXPECT_EQ(shown_line(bytes, 100), line);
        EXPECT_EQ(shown_message(bytes), message);
    }
    EXPECT_EQ(shown_line("Grüße", 5), "Grüße");
    EXPECT_EQ(shown_line("Grüße", 4), "Grüß…");
    EXPECT_EQ(shown_line(std::string(9 << 20, '\n'), 2), "\\u000A\\u000A…");
    EXPECT_EQ(shown_message(std::string(500, '\n')), std::string(19, '\n') + "…");
    EXPECT_EQ(shown_message(std::string(3000, 'x')), std::string(2000, 'x') + "…");
}

TEST(Text, sorts_names_of_either_case_together) {
    const auto key = [](const std::string& name) {
        std::string made;
        append_name_sort_key(name.c_str(), made);
        return made;
    };
    const char* const names[] = {"alpha", "Beta", "beta 2", "beta 10", "Gamma"};
    for (std::size_t at = 1; at < std::size(names); ++at)
        EXPECT_LT(key(names[at - 1]), key(names[at]));
    // Any name's key is GLib's, whether it is made the short way or not.
    std::minstd_rand random(16);
    for (int round = 0; round < 50000; ++round) {
        std::string name(random() % (round % 100 == 0 ? 600 : 12), '0');
        for (char& c : name)
            c = random() % 3 == 0 ? "000019"[random() % 6] : static_cast<char>(random() % 127 + 1);
        const GText folded(g_utf8_casefold(name.c_str(), -1));
        ASSERT_EQ(key(name), GText(g_utf8_collate_key_for_filename(folded.get(), -1)).get()) << name;
    }
}

TEST(Text, resolves_paths_onto_the_prefix) {
    const std::string long_name(5000, 'n');
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"/a/b/../c/./d", "/", "/a/c/d/"},
        {"../../a", "/", "/a/"},
        {"/..x/.y/...", "", "..x/.y/.../"},
        {"", "/", "/"},
        {"/" + long_name + "/./x/..", "/", "/" + long_name + "/"},
    };
    for (const auto& [path, prefix, expected] : cases) {
        std::string resolved = prefix;
        EXPECT_EQ(ConvertToRealPath(path.c_str(), "/", resolved, "/"), 0);
        EXPECT_EQ(resolved, expected) << path;
    }
}

TEST(Text, finds_the_paths_of_this_machine_in_uris) {
    const std::pair<const char*, const char*> cases[] = {
        {"file:///a%20b/", "/a b"}, {"file://localhost//", "/"},   {"file:///%FF", "/\xff"},
        {"file:///a%00b", ""},      {"file://else.invalid/a", ""}, {"/a", ""}};
    for (const auto& [uri, path] : cases)
        EXPECT_EQ(local_path_of_uri(uri).value_or(""), path) << uri;
}

TEST(Text, tells_roots_and_drive_paths) {
    const std::tuple<const char*, int, int> cases[] = {
        {"", 1, 2},   {"/", 0, 0},  {"C:", 0, 1},  {"c:\\", 0, 1}, {"C:\\x", 1, 1},    {"CD", 1, 0},
        {"1:", 1, 0}, {"|:", 1, 1}, {"C:/", 1, 1}, {"/C:", 1, 0},  {"C:\\x\xff", 1, 1}};
    for (const auto& [path, root, platform] : cases) {
        EXPECT_EQ(check_root_path(path), root) << path;
        EXPECT_EQ(check_path_for_platform(path), platform) << path;
    }
}

TEST(Text, converts_times_and_sizes) {
    _filetime filetime{0xD53E8000U, 0x019DB1DEU};  // 1970-01-01
    std::time_t seconds = -1;
    EXPECT_EQ(ms_filetime_to_timet(&filetime, &seconds), 0);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(convert_to_timet_for_link_engine(1700000000), 1700000000);
    EXPECT_EQ(convert_to_timet_for_link_engine(0x1'FFFFFFFFULL), 0);
    EXPECT_EQ(convert_to_timet_for_link_engine(0x1'7FFFFFFFULL), INT32_MIN);
    const std::unique_ptr<char, decltype(&std::free)> size(get_format_size_for_display(1536), std::free);
    EXPECT_STREQ(size.get(), "1.5 KB");
}

TEST(Text, fills_arguments_and_nothing_else) {
    EXPECT_EQ(fill_text("%s of %s, %d %% %n", {"1", "%s"}), "1 of %s, %d % %n");
    EXPECT_EQ(fill_text("%s%s", {"a"}), "a");
    EXPECT_EQ(fill_text("%", {"a"}), "%");
}

TEST(UnicodeHex, writes_the_low_byte_first) {
    const std::pair<const char*, const char*> cases[] = {
        {"ab", "61006200"}, {"é", "E900"},          {"C:\\a", "43003A005C006100"},
        {"文", "8765"},     {"\U0001F600", "01F6"}, {"\U0001F6FF", "100F"},
        {"", ""},           {"a\xff", ""}};
    for (const auto& [text, hex] : cases)
        EXPECT_EQ(unicode_hex(text), hex) << text;
    for (const char* text : {"ab", "é", "a/文\\", ""})
        EXPECT_EQ(text_from_unicode_hex(unicode_hex(text)), text);
    const std::pair<const char*, long> counts[] = {{"ab", 2}, {"é文", 2}, {"", 0}, {"a\xff", -1}};
    for (const auto& [text, characters] : counts) {
        long count = 7;
        EXPECT_EQ(ansi_to_unicode_hex(text, nullptr, &count, nullptr), -1);
        EXPECT_EQ(count, characters) << text;
    }
}

}  // namespace
