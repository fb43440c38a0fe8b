#include "base/abandon.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>

#include "base/diagnostics.h"

namespace relay_hub {
namespace {

thread_local const AbandonToken* bound_token = nullptr;

}  // namespace

AbandonToken::AbandonToken() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_)
        report_error(RELAY_HUB_HERE, errno);
}

void AbandonToken::abandon() {
    abandoned_.store(true);
    const std::uint64_t one = 1;
    if (event_)
        (void)write_all(event_.get(), &one, sizeof one);
}

bool AbandonToken::abandoned() const {
    return abandoned_.load();
}

AbandonScope::AbandonScope(const AbandonToken& token) : outer_(bound_token) {
    bound_token = &token;
}

AbandonScope::~AbandonScope() {
    bound_token = outer_;
}

const AbandonToken* current_abandon_token() {
    return bound_token;
}

}  // namespace relay_hub
