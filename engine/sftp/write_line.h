#pragma once
// The files that are complete here and on their way to the other computer's disk, many at once: each step of
// a file is asked for as soon as the step before has been answered. One thread.
#include <cstddef>
#include <deque>

namespace relay_hub::engine::sftp {

// One such file. Its steps are asked for without waiting for their answers.
class FileOnItsWay {
  public:
    FileOnItsWay(const FileOnItsWay&) = delete;
    FileOnItsWay& operator=(const FileOnItsWay&) = delete;

    // Whether the next step would not wait.
    [[nodiscard]] virtual bool answered() const = 0;
    [[nodiscard]] virtual bool begun() const = 0;
    [[nodiscard]] virtual bool sent() const = 0;
    // Whether all of it is answered, or something failed.
    [[nodiscard]] virtual bool complete() const = 0;
    // Asks for the file to be opened, where it is not.
    virtual void begin() = 0;
    // Waits for that; then all content, attributes, the sync and the close are on their way.
    virtual void send_rest() = 0;
    // Waits for all of that.
    virtual void take_answers() = 0;

  protected:
    FileOnItsWay() = default;
    ~FileOnItsWay() = default;
};

class WriteLine {
  public:
    // How many files may be open there at once.
    void set_limit(std::size_t in_progress) { in_progress_ = in_progress; }
    // The file's content is complete. It leaves before it goes.
    void join(FileOnItsWay& file);
    void leave(const FileOnItsWay& file);
    // Takes what has been answered, without waiting, and asks for what follows.
    void advance();
    // Waits until all of the file but its name is on the disk, or failed. For one that joined.
    void complete(const FileOnItsWay& file);

  private:
    void send_rest_of_first();

    std::size_t in_progress_ = 1;
    // The steps of a file, in order.
    std::deque<FileOnItsWay*> queued_;
    std::deque<FileOnItsWay*> opening_;
    std::deque<FileOnItsWay*> writing_;
};

}  // namespace relay_hub::engine::sftp
