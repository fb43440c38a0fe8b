#pragma once
// The client's side of a channel, as the class and the free functions share it.
#include <string>
#include <string_view>

#include "base/fifo.h"

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
