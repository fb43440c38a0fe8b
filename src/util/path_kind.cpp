#include "util/path_kind.h"

#include <glib.h>
#include <regex.h>

#include <cstdio>
#include <memory>
#include <string_view>

#include "base/freed_by.h"

namespace {

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
    const std::string_view text = path;
    const bool with_drive = text.size() > 1 && g_ascii_isalpha(text[0]) && text[1] == ':';
    const bool is_root = with_drive ? text.substr(2).empty() || text.substr(2) == "\\" : text.size() == 1;
    return is_root ? 0 : 1;
}
