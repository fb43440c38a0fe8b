#include "window/end_process.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>

#include "base/log.h"

namespace relay_hub {
namespace {

// Only what cannot block: another thread may hold the stream's lock, and its reader may be gone to sleep.
void flush_if_possible(std::FILE* stream) {
    pollfd writable{fileno(stream), POLLOUT, 0};
    if (poll(&writable, 1, 0) != 1 || ftrylockfile(stream) != 0)
        return;
    std::fflush(stream);
    funlockfile(stream);
}

}  // namespace

void end_process() {
    theLog.Print("^^^^ Close Log()\n");
    theLog.CloseFile();
    flush_if_possible(stdout);
    _exit(0);
}

}  // namespace relay_hub
