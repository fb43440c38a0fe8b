#pragma once
// A pipe whose ends close by themselves.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "base/file_descriptor.h"

namespace test {

struct Pipe {
    // Without flags its ends block.
    explicit Pipe(int flags = 0) {
        int ends[2];
        if (::pipe2(ends, flags | O_CLOEXEC) != 0)
            std::abort();
        reader.reset(ends[0]);
        writer.reset(ends[1]);
    }
    // There must be room for all of it.
    void put(std::string_view bytes) const {
        if (::write(writer.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            std::abort();
    }
    relay_hub::FileDescriptor reader;
    relay_hub::FileDescriptor writer;
};

}  // namespace test
