#pragma once
// The files that are complete here and on their way to the other computer's disk, many at once: each step of
// a file is asked for as soon as the step before has been answered. One thread.
#include <cstddef>
#include <deque>

namespace relay_hub::engine::sftp {

// One such file. Its steps are asked for without waiting for their answers.
class PipelinedFile {
  public:
    PipelinedFile(const PipelinedFile&) = delete;
    PipelinedFile& operator=(const PipelinedFile&) = delete;

    // Whether the next step would not wait.
    [[nodiscard]] virtual bool answered() const = 0;
    [[nodiscard]] virtual bool begun() const = 0;
    [[nodiscard]] virtual bool sent() const = 0;
    // Whether all of it is answered, or something failed.
    [[nodiscard]] virtual bool complete() const = 0;
    // Asks for the file to be opened, where it is not.
    virtual void begin() = 0;
    // Waits for that; then all content, attributes, the sync and the close are on their way.
    virtual void send_once_open() = 0;
    // Waits for all of that.
    virtual void take_answers() = 0;

  protected:
    PipelinedFile() = default;
    ~PipelinedFile() = default;
};

class WritePipeline {
  public:
    // How many files may be open there at once.
    void set_limit(std::size_t in_progress) { in_progress_ = in_progress; }
    // The file's content is complete. It leaves before it goes.
    void join(PipelinedFile& file);
    void leave(const PipelinedFile& file);
    // Takes what has been answered, without waiting, and asks for what follows.
    void advance();
    // Waits until all of the file but its name is on the disk, or failed. For one that joined.
    void complete(const PipelinedFile& file);

  private:
    void send_first_opened();

    std::size_t in_progress_ = 1;
    // The steps of a file, in order.
    std::deque<PipelinedFile*> queued_;
    std::deque<PipelinedFile*> opening_;
    std::deque<PipelinedFile*> writing_;
};

}  // namespace relay_hub::engine::sftp
