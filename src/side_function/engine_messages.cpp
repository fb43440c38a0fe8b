#include "side_function/engine_messages.h"

#include <cstdio>
#include <string>

#include "base/translated_text.h"
#include "link_engine/transfer_state.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/long_work.h"

namespace relay_hub {
namespace {

constexpr char kNoReason[] = "IDS_MSG_FAILED_WITHOUT_REASON";

}  // namespace

void show_waiting_message() {
    const std::string message = GetShowMessageBox();
    if (message.empty() || window_is_closing())
        return;
    SetShowMessageBox("");
    std::puts("show error message");
    const WorkPause pause;
    show_message_dialog(message_parent(), message.c_str(), nullptr);
}

void show_end_message(int result) {
    if (result == -1 && IsUserClickCancel() == 0 && GetShowMessageBox().empty())
        SetShowMessageBox(translated(kNoReason));
    show_waiting_message();
}

bool ask_about_failure() {
    const std::string message = GetShowMessageBox();
    SetShowMessageBox("");
    std::puts("show error message");
    const WorkPause pause;
    return ask_to_try_again(message_parent(), message.empty() ? translated(kNoReason) : message);
}

}  // namespace relay_hub
