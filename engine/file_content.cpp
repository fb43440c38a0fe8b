#include "engine/file_content.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/file_attributes.h"

namespace relay_hub::engine {
namespace {

constexpr std::size_t kBufferSize = 256UL * 1024;
constexpr off_t kSlice = 1024L * 1024;
constexpr std::uint64_t kFlushStep = 32ULL * 1024 * 1024;

struct Stretch {
    off_t start;
    off_t end;  // as start: nothing but a hole follows, or the end
};

// The data that come next in a file. Where the file system knows no holes, all is data.
Stretch next_data(int fd, off_t at) {
    const off_t start = lseek(fd, at, SEEK_DATA);
    if (start < 0)
        return {at, errno == ENXIO ? at : at + kSlice};
    const off_t hole = lseek(fd, start, SEEK_HOLE);
    return {start, hole > start ? hole : start + kSlice};
}

// Less than kBufferSize only at the end of the file.
Error read_piece(FileSource& source, std::vector<char>& piece) {
    piece.resize(kBufferSize);
    std::size_t size = 0;
    std::size_t got = 1;
    while (size < kBufferSize && got > 0) {
        if (Error error = source.read(piece.data() + size, kBufferSize - size, got); error)
            return error;
        size += got;
    }
    piece.resize(size);
    return {};
}

}  // namespace

Error FileContent::copy(FileSource& source, FileSink& sink) {
    in_kernel_ = true;
    struct stat before {};
    const int from = source.descriptor();
    const bool known = from >= 0 && fstat(from, &before) == 0;
    // A size of 0 may only mean that nobody knows it.
    Error error = known && sink.descriptor() >= 0 && before.st_size > 0 ? copy_stretches(from, sink)
                                                                        : copy_through_buffer(source, sink);
    struct stat after {};
    if (error || !known || fstat(from, &after) != 0)
        return error;
    return has_same_content(before, after) ? Error() : Error(ESTALE);
}

Error FileContent::copy_stretches(int from, FileSink& sink) {
    off_t at = 0;
    Stretch data{0, 0};
    while (true) {
        if (progress_.stopped())
            return ECANCELED;
        progress_.report();
        // Where a file is looked up page by page, looking for the next hole again takes longer than copying.
        if (at >= data.end)
            data = next_data(from, at);
        at = std::max(at, data.start);
        const auto size = static_cast<std::size_t>(std::min<off_t>(data.end - at, kSlice));
        const ssize_t copied = size > 0 ? copy_slice(from, sink.descriptor(), at, size) : 0;
        if (copied < 0)
            return errno;
        if (copied == 0)
            break;
        at += copied;
        count(sink, static_cast<std::uint64_t>(copied));
    }
    struct stat status {};
    if (fstat(from, &status) != 0)
        return errno;
    const bool ends_in_a_hole = status.st_size > at;
    return ends_in_a_hole && ftruncate(sink.descriptor(), status.st_size) != 0 ? Error(errno) : Error();
}

ssize_t FileContent::copy_slice(int from, int to, off_t at, std::size_t size) {
    off_t read_at = at;
    off_t write_at = at;
    while (in_kernel_) {
        const ssize_t copied = copy_file_range(from, &read_at, to, &write_at, size, 0);
        if (copied > 0)
            return copied;
        // It may give nothing, too, for files that can be read.
        in_kernel_ = copied < 0 && errno == EINTR;
    }
    buffer_.resize(kBufferSize);
    const ssize_t got = TEMP_FAILURE_RETRY(pread(from, buffer_.data(), std::min(size, buffer_.size()), at));
    for (ssize_t done = 0; done < got;) {
        const ssize_t put = TEMP_FAILURE_RETRY(
            pwrite(to, buffer_.data() + done, static_cast<std::size_t>(got - done), at + done));
        if (put < 0)
            return -1;
        done += put;
    }
    return got;
}

Error FileContent::copy_through_buffer(FileSource& source, FileSink& sink) {
    buffer_.resize(kBufferSize);
    while (true) {
        if (progress_.stopped())
            return ECANCELED;
        progress_.report();
        std::size_t got = 0;
        if (Error error = source.read(buffer_.data(), buffer_.size(), got); error)
            return error;
        if (got == 0)
            return {};
        if (Error error = sink.write(buffer_.data(), got); error)
            return error;
        count(sink, got);
    }
}

void FileContent::count(FileSink& sink, std::uint64_t bytes) {
    progress_.add_written(bytes);
    unflushed_ += bytes;
    if (unflushed_ < kFlushStep)
        return;
    sink.start_flush();
    unflushed_ = 0;
}

Error compare_contents(FileSource& one, FileSource& other, const std::function<bool()>& goes_on, bool& same) {
    std::vector<char> piece;
    std::vector<char> other_piece;
    do {
        if (!goes_on())
            return ECANCELED;
        if (Error error = read_piece(one, piece); error)
            return error;
        if (Error error = read_piece(other, other_piece); error)
            return error;
        same = piece == other_piece;
    } while (same && piece.size() == kBufferSize);
    return {};
}

}  // namespace relay_hub::engine
