#include "engine/content_comparison.h"

#include <cerrno>
#include <vector>

namespace relay_hub::engine {
namespace {

constexpr std::size_t kPieceSize = 256UL * 1024;

// Less than kPieceSize only at the end of the file.
Error read_piece(FileSource& source, std::vector<char>& piece) {
    piece.resize(kPieceSize);
    std::size_t size = 0;
    std::size_t got = 1;
    while (size < kPieceSize && got > 0) {
        if (Error error = source.read(piece.data() + size, kPieceSize - size, got); error)
            return error;
        size += got;
    }
    piece.resize(size);
    return {};
}

}  // namespace

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
    } while (same && piece.size() == kPieceSize);
    return {};
}

}  // namespace relay_hub::engine
