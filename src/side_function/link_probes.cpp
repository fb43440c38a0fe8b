#include "side_function/link_probes.h"

#include "link_engine/answer_slot.h"
#include "link_engine/request_builders.h"
#include "name_pipe/channel_lock.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "window/window_thread.h"
#include "xml_op/answer_readers.h"

namespace {

using relay_hub::AnswerCell;
using relay_hub::AnswerScope;
using relay_hub::ask_engine;

constexpr int kProbeLimitSeconds = 20;

// On the calling thread.
AnswerCell ask_directly(command_start_t start, int code) {
    AnswerCell answer;
    const AnswerScope scope(answer);
    __send_args args;
    args.command_code = code;
    start(&args);
    return answer;
}

const char* text_of(const AnswerCell& answer) {
    return answer ? answer->c_str() : nullptr;
}

// False once the program has ended.
bool read_on_window(command_finish_t finish, AnswerCell answer) {
    return relay_hub::call_on_window([finish, &answer] {
        const relay_hub::WindowWork work;
        const AnswerScope scope(answer);
        __send_args args;
        finish(&args);
    });
}

}  // namespace

int relay_hub::ask_engine(command_start_t start, command_finish_t finish, int code, int limit_seconds) {
    if (window_is_closing())
        return -1;
    const WindowWork work;
    __send_args args;
    args.timeout_seconds = limit_seconds;
    args.command_code = code;
    args.parent_window = message_parent();
    return send_command_t(start, finish, &args);
}

int right_combobox_load_partition_nothread() {
    if (read_on_window(get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH,
                       ask_directly(set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH, kCodeSpecialPath)))
        read_on_window(get_NP_VAL_CMD_GET_DRIVER_LIST,
                       ask_directly(set_NP_VAL_CMD_GET_DRIVER_LIST, kCodeDriverList));
    return 0;
}

int link_engine_heartbeat() {
    return ask_engine(set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT, kCodeHeartbeat,
                      kProbeLimitSeconds);
}

int link_engine_connection_status() {
    return ask_engine(set_NP_VAL_CMD_CHECK_CONNECTION_STATUS, get_NP_VAL_CMD_CHECK_CONNECTION_STATUS,
                      kCodeConnectionStatus);
}

int offline_connection_status() {
    return ask_engine(set_NP_VAL_CMD_CHECK_CONNECTION_STATUS, get_NP_VAL_CMD_CHECK_CONNECTION_STATUS_offline,
                      kCodeConnectionStatus);
}

int link_engine_remote_online() {
    return ask_engine(set_NP_VAL_CMD_CHECK_REMOTE_ONLINE, get_NP_VAL_CMD_CHECK_REMOTE_ONLINE,
                      kCodeRemoteOnline, kProbeLimitSeconds);
}

int link_engine_remote_online_nothread() {
    return relay_hub::judge_remote_online(
        text_of(ask_directly(set_NP_VAL_CMD_CHECK_REMOTE_ONLINE, kCodeRemoteOnline)));
}

int offline_connection_status_nothread() {
    if (relay_hub::channel_busy(relay_hub::command_pipe()))
        return 0;
    return relay_hub::judge_connection_status_offline(
        text_of(ask_directly(set_NP_VAL_CMD_CHECK_CONNECTION_STATUS, kCodeConnectionStatus)));
}
