#pragma once
// The shared transfer state: what the engine's call-backs tell the window, and what the user answers.
// Every accessor locks a private mutex and may be called on any thread; texts are returned as copies.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "link_engine/send_args.h"

enum _switch_info { kSwitchOff = 0, kSwitchOn = 1 };
enum _lock_status { kNoRequest = 0, kConfirmationWanted = 1, kRequestOther = 2 };
enum _confirm_value {
    kConfirmNone = 0,
    kConfirmYes = 1,
    kConfirmNo = 2,
    kConfirmReplaceAll = 3,
    kConfirmCancel = 4
};

// The record itself, laid out as its readers outside expect it. Only the accessors touch it: its mutex is
// theirs.
struct TransferRecord {
    std::int32_t request_lock = kNoRequest;
    float total_percent = 0;
    float current_percentage = 0;
    std::uint16_t enable = kSwitchOff;
    char progress_info[2048] = {};
    char elapsed_time[1024] = {};
    char dialog_message[1024] = {};
    char confirm_message[1024] = {};
    char user_cancel = 'N';
    std::int32_t confirm_value = kConfirmNone;
};

namespace relay_hub {

// A setter takes a text of up to kTextLimit bytes, terminator included, whatever its field holds; a longer
// one runs on into the fields behind, and that of the last field behind the record.
inline constexpr std::size_t kTextLimit = 2048;

struct TransferStorage {
    TransferRecord record;
    char overrun[offsetof(TransferRecord, confirm_message) + kTextLimit - sizeof(TransferRecord)] = {};
};

struct SharedTransfer {
    // With the mutex held: wakes the listener and the window's thread to look at the lock again.
    void announce_lock();
    // With the mutex held.
    void store_text(std::size_t offset, const char* text);

    std::mutex mutex;
    std::condition_variable lock_changed;
    TransferStorage storage;               // guarded by mutex
    int confirmation_servers = 0;          // guarded by mutex
    bool closing = false;                  // guarded by mutex
    bool refuses_all_that_follow = false;  // guarded by mutex
    std::atomic<int> change_flag = 0;
    std::atomic<int> offline_interrupt = 0;
    std::atomic<void (*)()> remote_offline = nullptr;
    std::atomic<std::chrono::steady_clock::time_point> last_activity{};
    bool asking = false;  // window's thread
};
extern SharedTransfer shared_transfer;

}  // namespace relay_hub

inline constexpr TransferRecord& g_pInformation = relay_hub::shared_transfer.storage.record;

void SetEnableInformation(int value);
_switch_info IsEnableInformation();
// Values outside 1-2 store 0. Wakes the main loop and the threads that wait for the lock. Returns 0.
int SetInformationRequest(int value);
_lock_status GetInformationRequest();
void SetCurrentPercentage(float value);
float GetCurrentPercentage();
void SetTotalPercent(float value);
float GetTotalPercent();
void SetProgressInfo(const char* text);
std::string GetProgressInfo();
void SetProcessElapseTime(const char* text);
std::string GetProcessElapseTime();
void SetDialogMessage(const char* text);
std::string GetDialogMessage();
void SetShowMessageBox(const char* text);
std::string GetShowMessageBox();
void SetConfirmMessage(const char* text);
std::string GetConfirmMessage();
int SetUserClickCancel(char value);
// -1 when the user pressed Cancel, else 0.
int IsUserClickCancel();
void SetConfirmValue(int value);
_confirm_value GetConfirmValue();
// Zeroes the record, releases a waiting confirmation as value 0, sets the cancel flag to 'N'.
void CleanUpInformationVar();

inline constexpr std::atomic<int>& change_flag = relay_hub::shared_transfer.change_flag;
inline constexpr std::atomic<int>& g_offline_interrupt = relay_hub::shared_transfer.offline_interrupt;
// Values of the change flag.
inline constexpr int kNoTransfer = 0;
inline constexpr int kTransferPrepared = 3;  // while it is being prepared
inline constexpr int kTransferCalledBack = 4;
int get_change_flag();
void set_change_flag(int value);
// 1 while a remote-offline call-back is being handled.
int get_offline_interrupt();
void set_offline_interrupt(int value);

namespace relay_hub {

// One consistent look at what the progress display needs.
struct TransferSnapshot {
    bool being_written = false;
    float total = 0;
    float current = 0;
    std::string progress_info;
    std::string elapsed_time;
};
TransferSnapshot transfer_snapshot();

}  // namespace relay_hub
