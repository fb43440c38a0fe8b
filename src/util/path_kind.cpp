#include "util/path_kind.h"

#include <regex.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "base/freed_by.h"

namespace {

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
    const std::unique_ptr<regex_t, relay_hub::FreedBy<regfree>> owner(&compiled);
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
