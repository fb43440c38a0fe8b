#include "util/path_stack.h"

#include <cstdio>
#include <cstring>

relay_hub::PathStack relay_hub::path_stack;

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
    for (const char* remaining = path + std::strspn(path, delimiters); *remaining != '\0';
         remaining += std::strspn(remaining, delimiters)) {
        const std::string part(remaining, std::strcspn(remaining, delimiters));
        remaining += part.size();
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
