#pragma once
// Resolving "." and ".." in a path with a stack of fixed size. The window's thread.
#include <string>

inline constexpr int kPathStackEntries = 128;

namespace relay_hub {

// InitPathStack is also how a test starts afresh.
struct PathStack {
    std::string entries[kPathStackEntries];  // components of any length, bottom first
    int top = -1;                            // its index, -1 when the stack is empty
};
extern PathStack path_stack;

}  // namespace relay_hub

inline constexpr auto& gPathStack = relay_hub::path_stack.entries;
inline constexpr int& gTopOfStack = relay_hub::path_stack.top;

void InitPathStack();
// The new top index, or -1 (stack unchanged) when the stack is full or component is null.
int PushOfStack(const char* component);
// The index of the entry just cleared, or -1 when the stack was empty.
int PopOfStack();
// Pushes the parts of path between delimiter bytes; "." is skipped, ".." pops. The result of the last push
// or pop, 0 for a path without parts, -1 for a null path.
int ParserPathToStack(const char* path, const char* delimiters);
// Appends every stacked entry, each followed by separator, to dst. 0.
int SolveRealPath(std::string& dst, const char* separator);
// Resets the stack, resolves "." and ".." in path, appends the result to dst (not cleared). 0.
int ConvertToRealPath(const char* path, const char* delimiters, std::string& dst, const char* separator);
