#include "base/stop_token.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>

#include "base/diagnostics.h"

namespace relay_hub {
namespace {

thread_local const StopToken* bound_token = nullptr;

}  // namespace

StopToken::StopToken() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_)
        report_error(RELAY_HUB_HERE, errno);
}

void StopToken::stop() {
    stopped_.store(true);
    const std::uint64_t one = 1;
    if (event_)
        (void)write_all(event_.get(), &one, sizeof one);
}

StopScope::StopScope(const StopToken& token) : outer_(bound_token) {
    bound_token = &token;
}

StopScope::~StopScope() {
    bound_token = outer_;
}

const StopToken* current_stop_token() {
    return bound_token;
}

}  // namespace relay_hub
