#include "link_engine/confirmation.h"

#include <chrono>

#include "link_engine/transfer_state.h"

namespace relay_hub {
namespace {

constexpr std::chrono::seconds kUnservedQuestionLimit{20};
constexpr SharedTransfer& shared = shared_transfer;

// With the mutex held.
void release_confirmation() {
    TransferRecord& record = shared.storage.record;
    if (record.request_lock == kNoRequest)
        return;
    record.request_lock = kNoRequest;
    record.confirm_value = kConfirmNone;
    shared.announce_lock();
}

// Until the question is decided, or nobody can decide it: the last server of questions has gone, or none has
// come for as long as a question without a request may wait.
void await_decision(std::unique_lock<std::mutex>& lock) {
    const auto unserved_end = std::chrono::steady_clock::now() + kUnservedQuestionLimit;
    bool was_served = false;
    while (shared.storage.record.request_lock != kNoRequest && !shared.closing) {
        if (shared.confirmation_servers > 0) {
            was_served = true;
            shared.lock_changed.wait(lock);
        } else if (was_served ||
                   shared.lock_changed.wait_until(lock, unserved_end) == std::cv_status::timeout) {
            return;
        }
    }
}

}  // namespace

int wait_for_confirmation(const std::string& question) {
    std::unique_lock lock(shared.mutex);
    TransferRecord& record = shared.storage.record;
    if (shared.closing)
        return kConfirmNone;
    if (shared.refuses_all_that_follow)
        return record.confirm_value = kConfirmNo;
    if (record.confirm_value != kConfirmReplaceAll) {
        shared.store_text(offsetof(TransferRecord, confirm_message), question.c_str());
        record.request_lock = kConfirmationWanted;
        shared.announce_lock();
    }
    await_decision(lock);
    release_confirmation();
    return record.confirm_value;
}

ConfirmationServer::ConfirmationServer() {
    const std::lock_guard lock(shared.mutex);
    ++shared.confirmation_servers;
}

ConfirmationServer::~ConfirmationServer() {
    const std::lock_guard lock(shared.mutex);
    if (--shared.confirmation_servers == 0)
        shared.lock_changed.notify_all();
}

void end_confirmations() {
    const std::lock_guard lock(shared.mutex);
    shared.closing = true;
    release_confirmation();
}

void refuse_all_that_follow() {
    const std::lock_guard lock(shared.mutex);
    shared.refuses_all_that_follow = true;
}

bool all_that_follow_is_refused() {
    const std::lock_guard lock(shared.mutex);
    return shared.refuses_all_that_follow;
}

void forget_answer_for_all() {
    const std::lock_guard lock(shared.mutex);
    shared.refuses_all_that_follow = false;
    shared.storage.record.confirm_value = kConfirmNone;
}

void accept_confirmations_again() {
    const std::lock_guard lock(shared.mutex);
    shared.closing = false;
}

}  // namespace relay_hub
