#include "name_pipe/channel_lock.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <mutex>

#include "base/diagnostics.h"

namespace relay_hub {
namespace {

struct Registry {
    std::atomic<std::size_t> answer_limit = 8192;
    std::mutex mutex;
    std::map<std::string, ChannelState> channels;  // under mutex; the channels themselves stay where they are
};

Registry& registry() {
    static Registry all;
    return all;
}

ChannelState* channel_of(const std::string& base) {
    const std::lock_guard lock(registry().mutex);
    ChannelState& channel = registry().channels[base];
    if (!channel.free)
        channel.free.reset(::eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK));
    if (channel.free)
        return &channel;
    report_error(RELAY_HUB_HERE, errno, base);
    return nullptr;
}

}  // namespace

ChannelLock::ChannelLock(const std::string& base, Deadline deadline) {
    ChannelState* channel = channel_of(base);
    while (channel != nullptr && wait_for(channel->free.get(), POLLIN, deadline) == WaitEnd::ready) {
        std::uint64_t one = 0;
        if (read_some(channel->free.get(), &one, sizeof one) == sizeof one) {
            held_ = channel;
            return;
        }
        if (errno != EAGAIN)
            return;
    }
}

ChannelLock::~ChannelLock() {
    const std::uint64_t one = 1;
    if (held_ != nullptr)
        (void)write_all(held_->free.get(), &one, sizeof one);
}

std::atomic<std::size_t>& answer_limit() {
    return registry().answer_limit;
}

bool channel_busy(const std::string& base) {
    const std::lock_guard lock(registry().mutex);
    const auto found = registry().channels.find(base);
    if (found == registry().channels.end())
        return false;
    pollfd watch{found->second.free.get(), POLLIN, 0};
    return watch.fd >= 0 && ::poll(&watch, 1, 0) == 0;
}

}  // namespace relay_hub
