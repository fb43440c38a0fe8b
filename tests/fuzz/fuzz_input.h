#pragma once
// What the fuzz targets share: the input as text, and a check that ends the run with the input kept.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Takes what stands in remaining before the next separator, which is passed over.
inline std::string take_part(std::string_view& remaining, char separator) {
    const std::size_t end = remaining.find(separator);
    std::string part(remaining.substr(0, end));
    remaining = end == std::string_view::npos ? std::string_view() : remaining.substr(end + 1);
    return part;
}

inline void check(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
