// Tries a fuzz target on every file of the folders named.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz_input.h"

[[gnu::weak]] int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return 0;
}

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    int count = 0;
    for (int at = 1; at < argc; ++at) {
        if (!std::filesystem::is_directory(argv[at]))
            continue;
        for (const auto& entry : std::filesystem::directory_iterator(argv[at])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string seed{std::istreambuf_iterator<char>(file), {}};
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(seed.data()), seed.size());
            ++count;
        }
    }
    std::printf("%d seeds\n", count);
    return count > 0 ? 0 : 1;
}
