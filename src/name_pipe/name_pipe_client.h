#pragma once
// The client's side of a channel. base is the channel's base path. No call hangs on a peer: the waits end
// with the peer's death or the thread's StopToken (stop_token.h).
#include <string>
#include <string_view>

#include "base/fifo.h"

// Sends body as one frame. With answer and answer_size, waits for the answer and puts its body, at
// most answer_size bytes, into answer; a zero follows where there is room. Without, nothing is awaited: the
// FIFOs are tried for moments only. A peer that ends without an answer counts as an empty answer. False, with
// answer untouched, when a FIFO is missing or none, nobody reads, the write failed, or the request was
// abandoned. Not on the window's thread.
bool SendPipeData(const char* base, char* body, unsigned int size, char* answer, unsigned int answer_size);

namespace relay_hub {

// Whether an answer ends at its first zero byte, because it is read as text, or is taken whole.
enum class AnswerKind { text, bytes };

// As SendPipeData with an answer; answer takes at most limit bytes.
bool exchange(const std::string& base, std::string_view body, std::string& answer, std::size_t limit,
              AnswerKind kind);
// As SendPipeData without an answer. Tries to reach a reader some 20 times at once, and then, with patient
// set, again and again until the deadline. Every wait within ends at the deadline.
bool post(const std::string& base, std::string_view body, Clock::time_point deadline, bool patient);

}  // namespace relay_hub
