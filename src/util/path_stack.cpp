#include <cstdio>
#include <cstring>
#include <string_view>

#include "util/path_time_text.h"

std::string gPathStack[kPathStackEntries];
int gTopOfStack = -1;

void InitPathStack() {
    for (std::string& entry : gPathStack)
        entry.clear();
    gTopOfStack = -1;
}

int PushOfStack(const char* component) {
    if (component == nullptr || gTopOfStack + 1 >= kPathStackEntries)
        return -1;
    gPathStack[++gTopOfStack] = component;
    return gTopOfStack;
}

int PopOfStack() {
    if (gTopOfStack < 0)
        return -1;
    gPathStack[gTopOfStack].clear();
    return gTopOfStack--;
}

int ParserPathToStack(const char* path, const char* delimiters) {
    std::puts("ParserPathToStack");
    if (path == nullptr)
        return -1;
    int result = 0;
    for (const char* rest = path + std::strspn(path, delimiters); *rest != '\0';
         rest += std::strspn(rest, delimiters)) {
        const std::string part(rest, std::strcspn(rest, delimiters));
        rest += part.size();
        if (part == "..")
            result = PopOfStack();
        else if (part != ".")
            result = PushOfStack(part.c_str());
    }
    return result;
}

int SolveRealPath(std::string& dst, const char* separator) {
    for (int index = 0; index <= gTopOfStack; ++index)
        dst.append(gPathStack[index]).append(separator);
    return 0;
}

int ConvertToRealPath(const char* path, const char* delimiters, std::string& dst, const char* separator) {
    std::puts("ConvertToRealPath");
    InitPathStack();
    ParserPathToStack(path, delimiters);
    std::puts("SolveRealPath");
    return SolveRealPath(dst, separator);
}

namespace relay_hub {
namespace {

bool is_drive_path(std::string_view path) {
    return path.size() >= 2 && path[1] == ':' &&
           ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
}

std::string join_path(std::string_view folder, std::string_view name, char separator,
                      std::string_view separators) {
    const std::size_t last = folder.find_last_not_of(separators);
    const std::size_t first = name.find_first_not_of(separators);
    std::string joined(folder.substr(0, last == std::string_view::npos ? 0 : last + 1));
    joined += separator;
    if (first != std::string_view::npos)
        joined += name.substr(first);
    return joined;
}

}  // namespace

std::string join_remote_path(const std::string& folder, const std::string& name) {
    return is_drive_path(folder) ? join_path(folder, name, '\\', "\\/") : join_path(folder, name, '/', "/");
}

std::string join_local_path(const std::string& folder, const std::string& name) {
    return join_path(folder, name, '/', "/");
}

}  // namespace relay_hub
