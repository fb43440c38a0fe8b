#pragma once
// What the process knows of each channel that it sends on: who holds it, and whether the peer still owes the
// answer to a request that was given up. Channels live as long as the process. Any thread.
#include <string>

#include "base/fifo.h"
#include "base/frame.h"

namespace relay_hub {

struct Channel {
    // Readable while nobody holds the channel: a wait for it can be stopped, which no mutex offers.
    FileDescriptor free;
    // Both belong to the holder. The frame in which a late answer stands, if it has begun.
    bool answer_owed = false;
    FrameProgress owed;
};

// Holds the channel of base for its life. Converts to false when the wait for it ended without it.
class ChannelLock {
  public:
    ChannelLock(const std::string& base, Deadline deadline);
    ChannelLock(const ChannelLock&) = delete;
    ChannelLock& operator=(const ChannelLock&) = delete;
    ~ChannelLock();

    explicit operator bool() const { return held_ != nullptr; }
    [[nodiscard]] Channel& channel() const { return *held_; }

  private:
    Channel* held_ = nullptr;
};

}  // namespace relay_hub
