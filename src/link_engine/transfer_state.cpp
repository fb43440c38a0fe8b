#include "link_engine/transfer_state.h"

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "link_engine/confirmation.h"

namespace {

using relay_hub::kTextLimit;
using relay_hub::TransferStorage;

constexpr std::chrono::seconds kUnservedQuestionLimit{20};

static_assert(offsetof(TransferRecord, total_percent) == 4);
static_assert(offsetof(TransferRecord, current_percentage) == 8);
static_assert(offsetof(TransferRecord, enable) == 12);
static_assert(offsetof(TransferRecord, progress_info) == 14);
static_assert(offsetof(TransferRecord, elapsed_time) == 2062);
static_assert(offsetof(TransferRecord, dialog_message) == 3086);
static_assert(offsetof(TransferRecord, confirm_message) == 4110);
static_assert(offsetof(TransferRecord, user_cancel) == 5134);
static_assert(offsetof(TransferRecord, confirm_value) == 5136);
static_assert(sizeof(TransferRecord) == 5140);

constexpr relay_hub::SharedTransfer& shared = relay_hub::shared_transfer;

template <typename Action>
auto with_record(Action action) {
    const std::lock_guard lock(shared.mutex);
    return action(shared.storage.record);
}

char* storage_at(std::size_t offset) {
    return reinterpret_cast<char*>(&shared.storage) + offset;
}

void store_text(std::size_t offset, const char* text) {
    char* field = storage_at(offset);
    *field = '\0';
    if (!text)
        return;
    const std::size_t length = strnlen(text, kTextLimit);
    if (length < kTextLimit)
        std::memcpy(field, text, length + 1);
}

std::string text_at(std::size_t offset) {
    const char* field = storage_at(offset);
    return {field, strnlen(field, sizeof(TransferStorage) - offset)};
}

void set_text(std::size_t offset, const char* text) {
    const std::lock_guard lock(shared.mutex);
    store_text(offset, text);
}

std::string get_text(std::size_t offset) {
    const std::lock_guard lock(shared.mutex);
    return text_at(offset);
}

// With the mutex held: tells the listener and the window's thread to look at the lock again.
void announce_lock() {
    shared.lock_changed.notify_all();
    g_main_context_wakeup(nullptr);
}

// With the mutex held.
void release_confirmation() {
    if (shared.storage.record.request_lock == kNoRequest)
        return;
    shared.storage.record.request_lock = kNoRequest;
    shared.storage.record.confirm_value = kConfirmNone;
    announce_lock();
}

int value_within(int value, int first, int last) {
    return value < first || value > last ? 0 : value;
}

}  // namespace

relay_hub::SharedTransfer relay_hub::shared_transfer;

void SetEnableInformation(int value) {
    with_record([value](TransferRecord& record) {
        record.enable = static_cast<std::uint16_t>(value_within(value, kSwitchOff, kSwitchOn));
    });
}

_switch_info IsEnableInformation() {
    return with_record([](const TransferRecord& record) { return static_cast<_switch_info>(record.enable); });
}

int SetInformationRequest(int value) {
    return with_record([value](TransferRecord& record) {
        record.request_lock = value_within(value, kConfirmationWanted, kRequestOther);
        announce_lock();
        return 0;
    });
}

_lock_status GetInformationRequest() {
    return with_record(
        [](const TransferRecord& record) { return static_cast<_lock_status>(record.request_lock); });
}

void SetCurrentPercentage(float value) {
    with_record([value](TransferRecord& record) { record.current_percentage = value; });
}

float GetCurrentPercentage() {
    return with_record([](const TransferRecord& record) { return record.current_percentage; });
}

void SetTotalPercent(float value) {
    with_record([value](TransferRecord& record) { record.total_percent = value; });
}

float GetTotalPercent() {
    return with_record([](const TransferRecord& record) { return record.total_percent; });
}

void SetProgressInfo(const char* text) {
    set_text(offsetof(TransferRecord, progress_info), text);
}

std::string GetProgressInfo() {
    return get_text(offsetof(TransferRecord, progress_info));
}

void SetProcessElapseTime(const char* text) {
    set_text(offsetof(TransferRecord, elapsed_time), text);
}

std::string GetProcessElapseTime() {
    return get_text(offsetof(TransferRecord, elapsed_time));
}

void SetDialogMessage(const char* text) {
    set_text(offsetof(TransferRecord, dialog_message), text);
}

std::string GetDialogMessage() {
    return get_text(offsetof(TransferRecord, dialog_message));
}

void SetShowMessageBox(const char* text) {
    SetDialogMessage(text);
}

std::string GetShowMessageBox() {
    return GetDialogMessage();
}

void SetConfirmMessage(const char* text) {
    set_text(offsetof(TransferRecord, confirm_message), text);
}

std::string GetConfirmMessage() {
    return get_text(offsetof(TransferRecord, confirm_message));
}

int SetUserClickCancel(char value) {
    return with_record([value](TransferRecord& record) {
        record.user_cancel = value == 'Y' ? 'Y' : 'N';
        return 0;
    });
}

int IsUserClickCancel() {
    return with_record([](const TransferRecord& record) { return record.user_cancel == 'Y' ? -1 : 0; });
}

void SetConfirmValue(int value) {
    with_record([value](TransferRecord& record) {
        record.confirm_value = value_within(value, kConfirmYes, kConfirmCancel);
    });
}

_confirm_value GetConfirmValue() {
    return with_record(
        [](const TransferRecord& record) { return static_cast<_confirm_value>(record.confirm_value); });
}

void CleanUpInformationVar() {
    std::puts("CleanUpInformationVar");
    const std::lock_guard lock(shared.mutex);
    shared.storage = TransferStorage();
    shared.refuses_all_that_follow = false;
    announce_lock();
}

int get_change_flag() {
    return change_flag;
}

void set_change_flag(int value) {
    change_flag = value;
}

int get_offline_interrupt() {
    return g_offline_interrupt;
}

void set_offline_interrupt(int value) {
    g_offline_interrupt = value;
}

namespace relay_hub {
namespace {

// Until somebody has decided the question, or nobody is there to decide it: whoever served questions has
// gone, or nobody has come for as long as a question without a request may wait.
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
        store_text(offsetof(TransferRecord, confirm_message), question.c_str());
        record.request_lock = kConfirmationWanted;
        announce_lock();
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
        announce_lock();
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

void accept_confirmations_again() {
    const std::lock_guard lock(shared.mutex);
    shared.closing = false;
}

TransferSnapshot transfer_snapshot() {
    const std::lock_guard lock(shared.mutex);
    const TransferRecord& record = shared.storage.record;
    return {record.enable == kSwitchOn, record.total_percent, record.current_percentage,
            text_at(offsetof(TransferRecord, progress_info)),
            text_at(offsetof(TransferRecord, elapsed_time))};
}

}  // namespace relay_hub
