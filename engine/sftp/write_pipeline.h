#pragma once
// The files that are complete here and on their way to the other computer's disk, many at once: each step of
// a file is requested as soon as the step before has been answered. One thread.
#include <cstddef>
#include <deque>

#include "engine/sftp/connection.h"

namespace relay_hub::engine::sftp {

// One such file. Its steps: open; content, attributes, sync and close; final name.
class PipelinedFile {
  public:
    PipelinedFile(const PipelinedFile&) = delete;
    PipelinedFile& operator=(const PipelinedFile&) = delete;

    [[nodiscard]] virtual bool begun() const = 0;
    // Whether the next step would not wait.
    [[nodiscard]] virtual bool answered() const = 0;
    // Whether the final name was requested, or something failed.
    [[nodiscard]] virtual bool named() const = 0;
    // Waits for the answers to the last step, and requests the next one.
    virtual void next_step() = 0;

  protected:
    PipelinedFile() = default;
    ~PipelinedFile() = default;
};

class WritePipeline {
  public:
    // How many files may be open there at once.
    void set_limit(std::size_t in_progress) { in_progress_ = in_progress; }
    // Waits until one more file may be open.
    void make_room();
    // The file's content is complete. It leaves before it goes.
    void join(PipelinedFile& file);
    void leave(const PipelinedFile& file);
    // Waits until the file is on the disk and its final name requested, or until it failed. For one that
    // joined.
    void complete(const PipelinedFile& file);
    // Keeps the files going until the answer is there, or until none is open.
    void advance_until(const PendingReply& reply);

  private:
    // Takes what has been answered, without waiting, and requests what follows.
    void advance();
    // Waits for the first of the open files.
    void advance_first();

    std::size_t in_progress_ = 1;
    std::deque<PipelinedFile*> queued_;
    std::deque<PipelinedFile*> open_;  // in the order of their last requests
};

}  // namespace relay_hub::engine::sftp
