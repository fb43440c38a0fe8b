#include <regex.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "util/path_time_text.h"

namespace {

constexpr std::uint64_t kFiletimeOf1970 = 116444736000000000U;
constexpr std::uint64_t kFiletimeUnitsPerSecond = 10000000U;
// The one number that seconds_convert_to_ms_filetime refuses.
constexpr std::uint64_t kRefusedSeconds = 34;

struct RegexFree {
    void operator()(regex_t* compiled) const { regfree(compiled); }
};

bool is_ascii_letter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

int tell_regex_error(int code, const regex_t& compiled) {
    char text[1024];
    regerror(code, &compiled, text, sizeof text);
    std::printf("regerror:%s\n", text);
    return -1;
}

}  // namespace

int regular_expression(const char* text, const char* pattern) {
    regex_t compiled;
    const int compile_error = regcomp(&compiled, pattern, REG_EXTENDED);
    if (compile_error != 0)
        return tell_regex_error(compile_error, compiled);
    const std::unique_ptr<regex_t, RegexFree> owner(&compiled);
    regmatch_t match;
    const int no_match = regexec(&compiled, text, 1, &match, 0);
    if (no_match != 0)
        return tell_regex_error(no_match, compiled);
    std::printf("match start:\n%s\nmatch end\n", text + match.rm_so);
    return 0;
}

int check_path_for_platform(const char* path) {
    if (path == nullptr || *path == '\0')
        return 2;
    // The bar is a member of the class: a path that starts with "|:" counts too.
    return regular_expression(path, "^[a-z|A-Z]:") == 0 ? 1 : 0;
}

int check_root_path(const char* path) {
    switch (std::strlen(path)) {
        case 1:
            return 0;
        case 2:
            return is_ascii_letter(path[0]) && path[1] == ':' ? 0 : 1;
        case 3:
            return is_ascii_letter(path[0]) && path[1] == ':' && path[2] == '\\' ? 0 : 1;
        default:
            return 1;
    }
}

int ms_filetime_to_timet(const _filetime* filetime, std::time_t* seconds) {
    if (filetime == nullptr || seconds == nullptr)
        return -1;
    const std::uint64_t units = (std::uint64_t{filetime->high} << 32U) | filetime->low;
    *seconds = static_cast<std::time_t>((units - kFiletimeOf1970) / kFiletimeUnitsPerSecond);
    return 0;
}

int seconds_convert_to_ms_filetime(const char* text, _filetime* filetime, std::uint64_t* raw) {
    if (text == nullptr)
        return -1;
    const std::uint64_t number = std::strtoull(text, nullptr, 10);
    if (raw != nullptr)
        *raw = number;
    if (filetime == nullptr || number == kRefusedSeconds)
        return -1;
    filetime->low = static_cast<std::uint32_t>(number);
    filetime->high = static_cast<std::uint32_t>(number >> 32U);
    return 0;
}

std::int32_t convert_to_timet_for_link_engine(std::uint64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) +
                                     static_cast<std::uint32_t>(value >> 32U));
}

char* get_format_size_for_display(std::uint64_t bytes) {
    return strdup(relay_hub::size_for_display(bytes).c_str());
}

namespace relay_hub {

std::string size_for_display(std::uint64_t bytes) {
    struct Unit {
        std::uint64_t size;
        const char* name;
    };
    static constexpr Unit kUnits[] = {{1U << 30U, "GB"}, {1U << 20U, "MB"}, {1U << 10U, "KB"}};
    char text[32];
    for (const Unit& unit : kUnits) {
        if (bytes >= unit.size) {
            const double amount = static_cast<double>(bytes) / static_cast<double>(unit.size);
            std::snprintf(text, sizeof text, "%.1f %s", amount, unit.name);
            return text;
        }
    }
    return std::to_string(bytes) + " bytes";
}

}  // namespace relay_hub
