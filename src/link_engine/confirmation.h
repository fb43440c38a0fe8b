#pragma once
// The hand-over of the engine's overwrite question: the listener raises it and waits, a run on the window's
// thread serves it through link_engine_confirm.
#include <string>

#include "base/non_copyable.h"

namespace relay_hub {

// Stores the question, raises the request lock and waits until it falls, then returns the confirm value. Asks
// nothing when the user has chosen "replace all" before, or to refuse all. Gives 0 when confirmations have
// been ended, when the last ConfirmationServer goes, or when there has been none for 20 seconds: a stray
// question must not hold the listener for good. Listener thread.
int wait_for_confirmation(const std::string& question);

// Says for its life that the calling thread serves questions. The last one to go releases a waiting question
// with value 0.
class ConfirmationServer : NonCopyable {
  public:
    ConfirmationServer();
    ~ConfirmationServer();
};

// Releases a waiting confirmation with value 0 and makes every later one end at once: the program is
// closing. Any thread.
void end_confirmations();
// Every later question of this copy is answered "No" at once. CleanUpInformationVar forgets it. Any thread.
void refuse_all_that_follow();
bool all_that_follow_is_refused();
// The next question is put once more, whatever was answered for all that follow. Any thread.
void forget_answer_for_all();
// Takes end_confirmations back: a new window.
void accept_confirmations_again();

}  // namespace relay_hub
