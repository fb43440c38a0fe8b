#include "name_pipe/round_watch.h"

#include <sys/inotify.h>

#include <array>
#include <cstring>

#include "base/fifo.h"

namespace relay_hub {

void RoundWatch::begin(const std::string& in_path, const std::string& out_path) {
    if (!events_)
        events_.reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    in_ = ::inotify_add_watch(events_.get(), in_path.c_str(), IN_ACCESS | IN_DONT_FOLLOW);
    out_ = ::inotify_add_watch(events_.get(), out_path.c_str(), IN_CLOSE_WRITE | IN_DONT_FOLLOW);
    // Nothing more is read once a peer has left; rounds of other clients have come since.
    do {
        forget();
    } while (has_left());
}

bool RoundWatch::has_left() {
    alignas(inotify_event) std::array<char, 4096> events;
    while (!left_ && events_) {
        const ssize_t count = read_some(events_.get(), events.data(), events.size());
        if (count <= 0)
            break;
        inotify_event event{};
        for (std::size_t at = 0; at < static_cast<std::size_t>(count); at += sizeof event + event.len) {
            std::memcpy(&event, events.data() + at, sizeof event);
            if (event.wd == in_ && (event.mask & IN_ACCESS) != 0)
                request_read_ = true;
            else if (event.wd == out_ && (event.mask & IN_CLOSE_WRITE) != 0)
                left_ = left_ || request_read_;
        }
    }
    return left_;
}

void RoundWatch::forget() {
    request_read_ = left_ = false;
}

}  // namespace relay_hub
