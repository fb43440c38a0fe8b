#include "link_engine/transfer_state.h"

#include <glib.h>

#include <cstdio>
#include <cstring>

namespace {

using relay_hub::TransferStorage;

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

std::string text_at(std::size_t offset) {
    const char* field = storage_at(offset);
    return {field, strnlen(field, sizeof(TransferStorage) - offset)};
}

void set_text(std::size_t offset, const char* text) {
    const std::lock_guard lock(shared.mutex);
    shared.store_text(offset, text);
}

std::string get_text(std::size_t offset) {
    const std::lock_guard lock(shared.mutex);
    return text_at(offset);
}

int value_within(int value, int first, int last) {
    return value < first || value > last ? 0 : value;
}

}  // namespace

relay_hub::SharedTransfer relay_hub::shared_transfer;

void relay_hub::SharedTransfer::announce_lock() {
    lock_changed.notify_all();
    g_main_context_wakeup(nullptr);
}

void relay_hub::SharedTransfer::store_text(std::size_t offset, const char* text) {
    char* field = storage_at(offset);
    *field = '\0';
    if (!text)
        return;
    const std::size_t length = strnlen(text, kTextLimit);
    if (length < kTextLimit)
        std::memcpy(field, text, length + 1);
}

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
        shared.announce_lock();
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
    shared.announce_lock();
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

TransferSnapshot transfer_snapshot() {
    const std::lock_guard lock(shared.mutex);
    const TransferRecord& record = shared.storage.record;
    return {record.enable == kSwitchOn, record.total_percent, record.current_percentage,
            text_at(offsetof(TransferRecord, progress_info)),
            text_at(offsetof(TransferRecord, elapsed_time))};
}

}  // namespace relay_hub
