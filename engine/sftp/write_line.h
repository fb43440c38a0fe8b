#pragma once
// The files that are complete here and on their way to the other computer's disk, many at once: each step of
// a file is asked for as soon as the step before has been answered. One thread.
#include <cstddef>
#include <deque>

namespace relay_hub::engine::sftp {

class SftpSink;

class WriteLine {
  public:
    // How many files may be open there at once.
    void set_limit(std::size_t in_progress) { in_progress_ = in_progress; }
    // The sink's content is complete. It leaves before it goes.
    void join(SftpSink& sink);
    void leave(const SftpSink& sink);
    // Takes what has been answered, without waiting, and asks for what follows.
    void advance();
    // Waits until all of the sink but its name is on the disk, or failed. For one that joined.
    void complete(const SftpSink& sink);

  private:
    void send_rest_of_first();

    std::size_t in_progress_ = 1;
    // The steps of a file, in order.
    std::deque<SftpSink*> queued_;
    std::deque<SftpSink*> opening_;
    std::deque<SftpSink*> writing_;
};

}  // namespace relay_hub::engine::sftp
