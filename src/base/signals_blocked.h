#pragma once
// Starting threads on which no signal but SIGSEGV is ever handled. A thread inherits the mask of the thread
// that starts it, so the starter holds a SignalsBlocked around the start. Any thread.
#include <pthread.h>

#include <csignal>

#include "base/non_copyable.h"

namespace relay_hub {

class SignalsBlocked : NonCopyable {
  public:
    SignalsBlocked() {
        sigset_t all_but_segv;
        sigfillset(&all_but_segv);
        sigdelset(&all_but_segv, SIGSEGV);
        pthread_sigmask(SIG_SETMASK, &all_but_segv, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t before_{};
};

}  // namespace relay_hub
