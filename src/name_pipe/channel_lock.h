#pragma once
// What the process knows of each channel that it sends on: who holds it, and whether the reply to a request
// that was given up is still to come. Channels live as long as the process. Any thread.
#include <atomic>
#include <cstddef>
#include <string>

#include "base/fifo.h"
#include "base/frame.h"
#include "base/non_copyable.h"
#include "name_pipe/round_watch.h"

namespace relay_hub {

struct ChannelState {
    // Readable while nobody holds the channel: a wait for it can be stopped, which no mutex offers.
    FileDescriptor free;
    // The following members belong to the holder.
    bool reply_pending = false;
    FrameProgress pending_reply;  // the frame of the late reply, if it has begun
    RoundWatch round;
};

// Holds the channel of base for its life. Converts to false when the wait for it ended without it.
class ChannelLock : NonCopyable {
  public:
    ChannelLock(const std::string& base, Deadline deadline);
    ~ChannelLock();

    explicit operator bool() const { return held_ != nullptr; }
    [[nodiscard]] ChannelState& channel() const { return *held_; }

  private:
    ChannelState* held_ = nullptr;
};

// True while a send on base holds its channel, that is while an exchange is under way.
bool channel_busy(const std::string& base);

// How much of an answer is taken: the output size that the program itself has set, 8192 bytes at first.
std::atomic<std::size_t>& answer_limit();

}  // namespace relay_hub
