// Paths, times, sizes, texts and the unicode-hex form.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "util/job_state.h"
#include "util/path_time_text.h"
#include "util/translated_text.h"

namespace {

TEST(Text, resolves_paths_onto_the_prefix) {
    const std::string long_name(5000, 'n');
    const std::string long_path = "/" + long_name + "/./x/..";
    const std::string long_resolved = "/" + long_name + "/";
    const struct {
        const char* path;
        const char* prefix;
        const char* resolved;
    } cases[] = {
        {"/a/b/../c/./d", "", "a/c/d/"},
        {"/a/b/../c/./d", "/", "/a/c/d/"},
        {"../../a", "/", "/a/"},
        {"//a///b//", "/", "/a/b/"},
        {"/..x/.y/...", "", "..x/.y/.../"},
        {"/", "/", "/"},
        {"", "/", "/"},
        {long_path.c_str(), "/", long_resolved.c_str()},
    };
    for (const auto& each : cases) {
        std::string resolved = each.prefix;
        EXPECT_EQ(ConvertToRealPath(each.path, "/", resolved, "/"), 0);
        EXPECT_EQ(resolved, each.resolved) << each.path;
    }
}

TEST(Text, path_stack_drops_the_129th_component_and_parses_on) {
    std::string path;
    for (int index = 0; index < 129; ++index)
        path += "/" + std::to_string(index);
    InitPathStack();
    EXPECT_EQ(ParserPathToStack(path.c_str(), "/"), -1);
    EXPECT_EQ(gTopOfStack, 127);
    EXPECT_EQ(ParserPathToStack("..", "/"), 127);
    EXPECT_EQ(ParserPathToStack("x", "/"), 127);
    EXPECT_EQ(gPathStack[127], "x");
    InitPathStack();
    EXPECT_EQ(PopOfStack(), -1);
}

TEST(Text, tells_roots_and_drive_paths) {
    const struct {
        const char* path;
        int root;
        int platform;
    } cases[] = {{"", 1, 2},   {"/", 0, 0},  {"C:", 0, 1},  {"c:\\", 0, 1}, {"C:\\x", 1, 1},    {"CD", 1, 0},
                 {"1:", 1, 0}, {"|:", 1, 1}, {"C:/", 1, 1}, {"/C:", 1, 0},  {"C:\\x\xff", 1, 1}};
    for (const auto& each : cases) {
        EXPECT_EQ(check_root_path(each.path), each.root) << each.path;
        EXPECT_EQ(check_path_for_platform(each.path), each.platform) << each.path;
    }
}

TEST(Text, joins_with_one_separator) {
    EXPECT_EQ(relay_hub::join_local_path("/", "x"), "/x");
    EXPECT_EQ(relay_hub::join_local_path("/a//", "/x"), "/a/x");
    EXPECT_EQ(relay_hub::join_local_path("C:\\", "x"), "C:\\/x");
    EXPECT_EQ(relay_hub::join_remote_path("C:\\Data\\", "x"), "C:\\Data\\x");
    EXPECT_EQ(relay_hub::join_remote_path("C:", "x"), "C:\\x");
    EXPECT_EQ(relay_hub::join_remote_path("/a", "x"), "/a/x");
}

TEST(Text, converts_times) {
    _filetime filetime{0xD53E8000U, 0x019DB1DEU};  // 1970-01-01
    std::time_t seconds = -1;
    EXPECT_EQ(ms_filetime_to_timet(&filetime, &seconds), 0);
    EXPECT_EQ(seconds, 0);
    filetime = {};
    EXPECT_EQ(ms_filetime_to_timet(&filetime, &seconds), 0);
    EXPECT_EQ(seconds, static_cast<std::time_t>((0 - 116444736000000000ULL) / 10000000ULL));

    std::uint64_t raw = 0;
    EXPECT_EQ(seconds_convert_to_ms_filetime("4294967298", &filetime, &raw), 0);
    EXPECT_EQ(raw, 4294967298U);
    EXPECT_EQ(filetime.low, 2U);
    EXPECT_EQ(filetime.high, 1U);
    EXPECT_EQ(seconds_convert_to_ms_filetime("34", &filetime, &raw), -1);

    EXPECT_EQ(convert_to_timet_for_link_engine(1700000000), 1700000000);
    EXPECT_EQ(convert_to_timet_for_link_engine(0x1'FFFFFFFFULL), 0);
    EXPECT_EQ(convert_to_timet_for_link_engine(0x1'7FFFFFFFULL), INT32_MIN);
}

TEST(Text, shows_sizes) {
    const std::pair<std::uint64_t, const char*> cases[] = {
        {1023, "1023 bytes"}, {1024, "1.0 KB"},       {1048575, "1024.0 KB"},
        {1048576, "1.0 MB"},  {1610612736, "1.5 GB"}, {UINT64_MAX, "17179869184.0 GB"}};
    for (const auto& [bytes, shown] : cases) {
        char* const text = get_format_size_for_display(bytes);
        EXPECT_STREQ(text, shown);
        std::free(text);
    }
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

TEST(UnicodeHex, agrees_with_the_library_on_every_three_bytes) {
    // Every lead with the tails where ranges begin and end, valid or not.
    const unsigned char tails[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
    for (unsigned lead = 1; lead < 256; ++lead) {
        for (const unsigned char second : tails) {
            for (const unsigned char third : tails) {
                const char text[] = {static_cast<char>(lead), static_cast<char>(second),
                                     static_cast<char>(third), static_cast<char>(0x80), '\0'};
                wchar_t ours[8] = {};
                wchar_t theirs[8] = {};
                long count = 0;
                ASSERT_EQ(ansi_string_to_unicode_hex(text, ours, &count), 0);
                ASSERT_EQ(count, static_cast<long>(std::mbstowcs(theirs, text, std::strlen(text))));
                if (count < 0)
                    continue;
                ASSERT_EQ(std::wmemcmp(ours, theirs, 8), 0) << lead << " " << second << " " << third;
            }
        }
    }
}

TEST(UnicodeHex, decodes_digits_as_far_as_they_go) {
    const struct {
        const char* hex;
        int size;
        int left;
        const char* bytes;
    } cases[] = {{"4142", 3, 0, "AB"}, {"4142", 9, 6, "AB"}, {"414243", 3, 0, "AB"}, {"414", 9, 6, "A\x04"},
                 {"", 5, 4, ""},       {"41", 1, 0, ""},     {"414243", 0, 3, ""},   {"4x42", 9, 6, "\4B"}};
    for (const auto& each : cases) {
        unsigned char out[16] = {};
        EXPECT_EQ(HexStr2Binary(each.hex, out, each.size), each.left) << each.hex;
        EXPECT_STREQ(reinterpret_cast<const char*>(out), each.bytes) << each.hex;
    }
    EXPECT_EQ(relay_hub::text_from_unicode_hex("4100D83D4200"), "A㷘B");
    EXPECT_EQ(relay_hub::text_from_unicode_hex("41003DD84200"), "AB");  // half a pair is no character
    EXPECT_EQ(relay_hub::text_from_unicode_hex("410042"), "AB");
}

TEST(JobState, a_cancel_never_undoes_an_end) {
    volatile int state = kStateRunning;
    EXPECT_TRUE(cancel_atomic(&state));
    EXPECT_EQ(get_atomic(&state), TASK_CANCEL);
    EXPECT_FALSE(cancel_atomic(&state));
    set_atomic(&state, kStateFinished);
    EXPECT_FALSE(cancel_atomic(&state));
    EXPECT_EQ(get_atomic(&state), kStateFinished);
}

}  // namespace
