#pragma once
// The client's wait for an answer on a channel, which ends with the peer's round, its death or the thread's
// StopToken. Not on the window's thread.
#include <chrono>
#include <string>

#include "base/file_descriptor.h"
#include "base/frame.h"
#include "name_pipe/round_watch.h"

namespace relay_hub {

// An answer that has begun and then pauses this long has ended; a peer whose ends are gone this long has
// died.
inline constexpr std::chrono::milliseconds kPeerSilence{2000};

// Both ends of one exchange, non-blocking; out is opened afresh when the peer had only ended an earlier
// round.
struct Connection {
    FileDescriptor in;
    FileDescriptor out;
    std::string out_path;
};

enum class Writer { present, absent, sent };

// Whether somebody has the answers' FIFO open for writing. poll() cannot tell before the first byte, but a
// read can, and what it happens to read is kept.
Writer find_writer(int out, FrameProgress& progress);

// Waits without limit for the first byte of the answer, but not for a peer that ended the round or has died.
// The end of the round shows by a writer's hang-up or, where the next round began at once, by the watch. A
// peer that died before it opened its end shows by missing for long.
// Complete: the first bytes can be read or are in progress; closed: no answer will come; stopped: the thread
// is.
ReadEnd await_answer(Connection& connection, FrameProgress& progress, RoundWatch& round);

}  // namespace relay_hub
