#pragma once
// A file of the other computer being read, with several pieces on their way at once. Used by SftpFileSystem
// alone, on its thread.
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "engine/remote_file_system.h"
#include "engine/sftp/session.h"

namespace relay_hub::engine::sftp {

class SftpSource : public FileSource {
  public:
    // Asks for the file to be opened, and does not wait.
    SftpSource(std::shared_ptr<Session> session, const std::string& path, std::uint64_t size);
    ~SftpSource() override;

    // Takes what has come, without waiting, and asks for what follows.
    void advance();
    // Whether finish_open() would not wait.
    [[nodiscard]] bool arrived() const { return !opening_.sent() || opening_.arrived(); }
    // Waits until it is open.
    Error finish_open();
    Error read(char* buffer, std::size_t size, std::size_t& got) override;
    [[nodiscard]] int descriptor() const override { return -1; }

  private:
    struct Piece {
        std::uint64_t offset = 0;
        std::size_t size = 0;
        PendingReply reply;
    };
    void ask_for_more();
    void ask_for(Piece piece, bool first);
    Error take_piece();
    Error check_unchanged();
    void close();

    std::shared_ptr<Session> session_;
    const std::uint64_t expected_size_;
    const std::size_t block_;
    PendingReply opening_;
    Error open_error_;
    std::string handle_;  // empty: not open
    std::deque<Piece> pieces_;
    std::size_t in_flight_ = 0;  // bytes asked for in pieces_
    std::uint64_t asked_until_ = 0;
    bool at_end_ = false;
    // Looks at a file of more than one piece: before the first, and after the last.
    PendingReply look_before_;
    PendingReply look_after_;
    // The piece that is being handed out, and what of it is left.
    std::string fields_;
    std::string_view unread_;
};

}  // namespace relay_hub::engine::sftp
