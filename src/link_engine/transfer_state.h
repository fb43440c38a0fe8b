#pragma once
// The shared transfer state: what the engine's call-backs tell the window, and what the user answers.
// Every accessor locks a private mutex and may be called on any thread; texts are returned as copies.
#include <string>

#include "link_engine/send_args.h"

class CZEVXML;

enum _switch_info { kSwitchOff = 0, kSwitchOn = 1 };
enum _lock_status { kNoRequest = 0, kConfirmationWanted = 1, kRequestOther = 2 };
enum _confirm_value {
    kConfirmNone = 0,
    kConfirmYes = 1,
    kConfirmNo = 2,
    kConfirmReplaceAll = 3,
    kConfirmCancel = 4
};

void SetEnableInformation(int value);
int IsEnableInformation();
// Values outside 1-2 store 0. Wakes the main loop and whoever waits for the lock. Returns 0.
int SetInformationRequest(int value);
int GetInformationRequest();
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
int GetConfirmValue();
// Zeroes the record, releases a waiting confirmation as value 0, sets the cancel flag to 'N'.
void CleanUpInformationVar();

// 3 while a transfer is being prepared, 4 once the engine has called back.
int get_change_flag();
void set_change_flag(int value);
// 1 while a remote-offline call-back is being handled.
int get_offline_interrupt();
void set_offline_interrupt(int value);

namespace relay_hub {

// Releases a waiting confirmation with value 0 and makes every later one end at once: the program is
// closing. Any thread.
void end_confirmations();
// Takes end_confirmations back, for tests.
void accept_confirmations_again();

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
