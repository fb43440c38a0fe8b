#pragma once
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
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

// So many bytes, or fewer when its writers leave.
inline std::string read_bytes(int fd, std::size_t size) {
    std::string bytes(size, '\0');
    std::size_t done = 0;
    for (ssize_t count = 1; done < size && count > 0; done += count > 0 ? static_cast<std::size_t>(count) : 0)
        count = ::read(fd, bytes.data() + done, size - done);
    bytes.resize(done);
    return bytes;
}

}  // namespace test
