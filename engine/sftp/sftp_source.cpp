#include "engine/sftp/sftp_source.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "engine/sftp/transfer_window.h"

namespace relay_hub::engine::sftp {

SftpSource::SftpSource(std::shared_ptr<Session> session, const std::string& path, std::uint64_t size)
    : session_(std::move(session)),
      expected_size_(size),
      block_(std::min(session_->facts().longest_read, kBlock)),
      opening_(session_->send_open(path, kOpenRead, {})) {}

SftpSource::~SftpSource() {
    close();
}

void SftpSource::close() {
    if (!handle_.empty())
        (void)session_->send_close(handle_);
    handle_.clear();
}

void SftpSource::advance() {
    if (opening_.arrived())
        (void)finish_open();
}

Error SftpSource::finish_open() {
    if (opening_.sent()) {
        open_error_ = session_->take_handle(opening_, handle_);
        if (!open_error_ && expected_size_ > block_)
            look_before_ = session_->send_open_attributes(handle_);
        if (!open_error_)
            ask_for_more();
    }
    return open_error_;
}

void SftpSource::ask_for(Piece piece, bool first) {
    const bool ends = piece.offset >= expected_size_;
    piece.reply = session_->send_read(handle_, piece.offset, piece.size);
    in_flight_ += piece.size;
    if (first)
        pieces_.push_front(std::move(piece));
    else
        pieces_.push_back(std::move(piece));
    if (look_before_.sent() && (ends || look_after_.sent()))
        look_after_ = session_->send_open_attributes(handle_);
}

// Up to the expected end, and one piece more that finds the real one.
void SftpSource::ask_for_more() {
    while (!at_end_ && asked_until_ < expected_size_ && in_flight_ < kWindow) {
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(block_, expected_size_ - asked_until_));
        ask_for({asked_until_, size, {}}, false);
        asked_until_ += size;
    }
    const bool probing = !pieces_.empty() && pieces_.back().offset >= expected_size_;
    if (at_end_ || asked_until_ < expected_size_ || probing || in_flight_ >= kWindow)
        return;
    ask_for({asked_until_, block_, {}}, false);
    asked_until_ += block_;
}

Error SftpSource::take_piece() {
    Piece piece = std::move(pieces_.front());
    Error error = session_->take_data(piece.reply, fields_, unread_);
    if (error.number == ECANCELED) {
        pieces_.front() = std::move(piece);
        return error;
    }
    pieces_.pop_front();
    in_flight_ -= piece.size;
    if (error.number == ENODATA) {
        at_end_ = true;
        pieces_.clear();
        error = check_unchanged();
        close();
        return error;
    }
    if (error)
        return error;
    // A piece may come shorter than requested; then what remains of it is requested first.
    if (unread_.size() < piece.size) {
        const std::uint64_t next = piece.offset + unread_.size();
        if (piece.offset >= expected_size_)
            asked_until_ = next;
        else
            ask_for({next, piece.size - unread_.size(), {}}, true);
    }
    ask_for_more();
    return {};
}

Error SftpSource::check_unchanged() {
    if (!look_before_.sent())
        return {};
    if (!look_after_.sent())
        look_after_ = session_->send_open_attributes(handle_);
    Attributes before;
    Attributes after;
    Error error = session_->take_attributes(look_before_, before);
    if (!error)
        error = session_->take_attributes(look_after_, after);
    if (error)
        return error.number == ENOTCONN || error.number == ECANCELED ? error : Error();
    const bool same_time = !before.times || !after.times || before.times->modified == after.times->modified;
    return same_time && before.size == after.size ? Error() : Error(ESTALE);
}

Error SftpSource::read(char* buffer, std::size_t size, std::size_t& got) {
    got = 0;
    if (Error error = finish_open(); error)
        return error;
    while (unread_.empty() && !at_end_) {
        if (Error error = take_piece(); error)
            return error;
    }
    got = std::min(size, unread_.size());
    std::copy_n(unread_.data(), got, buffer);
    unread_.remove_prefix(got);
    return {};
}

}  // namespace relay_hub::engine::sftp
