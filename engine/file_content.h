#pragma once
// Moves the bytes of one file, or compares those of two. They move between two descriptors in the kernel
// where it can, and holes stay holes; else through a buffer. One copy, one thread; the progress must outlive
// it.
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "engine/copy_progress.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class FileContent {
  public:
    explicit FileContent(CopyProgress& progress) : progress_(progress) {}
    // ECANCELED when the work is to end, ESTALE when the file was changed meanwhile.
    Error copy(FileSource& source, FileSink& sink);

  private:
    // Between two descriptors.
    Error copy_stretches(int from, FileSink& sink);
    // At most size bytes at the offset at. -1 with errno set; 0 at the end.
    ssize_t copy_slice(int from, int to, off_t at, std::size_t size);
    Error copy_through_buffer(FileSource& source, FileSink& sink);
    void count(FileSink& sink, std::uint64_t bytes);

    CopyProgress& progress_;
    bool in_kernel_ = true;  // not yet refused for this file
    std::uint64_t unflushed_ = 0;
    std::vector<char> buffer_;
};

// Reads both to their end, or to where they differ. goes_on is asked between the pieces; false from it ends
// with ECANCELED.
Error compare_contents(FileSource& one, FileSource& other, const std::function<bool()>& goes_on, bool& same);

}  // namespace relay_hub::engine
