#include "engine/reader_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace relay_hub::engine {

ReaderWatch::ReaderWatch(const std::string& path) : events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!events_ || inotify_add_watch(events_.get(), path.c_str(), IN_CLOSE_NOWRITE) < 0)
        events_.reset();
}

void ReaderWatch::forget() {
    alignas(inotify_event) std::array<char, 4096> events{};
    while (events_ && (::read(events_.get(), events.data(), events.size()) > 0 || errno == EINTR)) {
    }
}

}  // namespace relay_hub::engine
