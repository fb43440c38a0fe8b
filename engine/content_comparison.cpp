#include "engine/content_comparison.h"

#include <cerrno>
#include <string_view>
#include <vector>

namespace relay_hub::engine {
namespace {

constexpr std::size_t kPieceSize = 256UL * 1024;

// As much as fits into the buffer; less only at the end of the file.
Error read_piece(FileSource& source, std::vector<char>& buffer, std::string_view& piece) {
    std::size_t size = 0;
    while (size < buffer.size()) {
        std::size_t got = 0;
        if (Error error = source.read(buffer.data() + size, buffer.size() - size, got); error)
            return error;
        if (got == 0)
            break;
        size += got;
    }
    piece = std::string_view(buffer.data(), size);
    return {};
}

}  // namespace

Error compare_contents(FileSource& one, FileSource& other, const std::function<bool()>& goes_on, bool& same) {
    std::vector<char> buffer(kPieceSize);
    std::vector<char> other_buffer(kPieceSize);
    std::string_view piece;
    std::string_view other_piece;
    do {
        if (!goes_on())
            return ECANCELED;
        if (Error error = read_piece(one, buffer, piece); error)
            return error;
        if (Error error = read_piece(other, other_buffer, other_piece); error)
            return error;
        same = piece == other_piece;
    } while (same && piece.size() == kPieceSize);
    return {};
}

}  // namespace relay_hub::engine
