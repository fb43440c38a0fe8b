#include "xml_op/answer_readers.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "link_engine/answer_slot.h"
#include "link_engine/message_names.h"
#include "link_engine/transfer_state.h"
#include "tree_view_op/file_list_view.h"
#include "tree_view_op/list_summary.h"
#include "util/path_kind.h"
#include "window/closing.h"
#include "window/dialogs/message_dialog.h"
#include "xml_op/fill_widgets.h"
#include "xml_op/parsed_answer.h"

namespace {

using relay_hub::CallSite;
using relay_hub::ParsedAnswer;
using relay_hub::report;
using relay_hub::text_of;
using relay_hub::XmlText;

// The engine's reason of the last failure; the remote pane frees it before a request whose reason it shows.
std::string g_return_message;

std::optional<std::uint64_t> bytes_of(std::string_view digits) {
    std::uint64_t bytes = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), bytes);
    if (error != std::errc() || end != digits.data() + digits.size())
        return {};
    return bytes;
}

// A file list's answer, with its records as rows.
struct FileList {
    explicit FileList(std::string text) : answer(read(std::move(text))) {
        if (const XmlText field = answer->field(wire::kFreeSpace))
            free_bytes = bytes_of(text_of(field));
    }
    ParsedAnswer read(std::string text) {
        walk_context context{nullptr, wire::kGetFileList, &rows};
        return {std::move(text), RIGHT_SIDE_HERE, get_xml_detial, &context};
    }

    relay_hub::RecordRows rows;
    std::optional<std::uint64_t> free_bytes;  // not every engine tells
    std::optional<ParsedAnswer> answer;
};

void show_folder(FileList& list, const std::string& path) {
    __single* const side = get_UI_sets()->right_side;
    // Nobody reads the text any more, and the rows take its place in memory.
    list.answer.reset();
    clean_tree_view(side->tree_view);
    if (check_root_path(path.c_str()) != 0)
        insert_root_row(side->tree_view);
    {
        relay_hub::RowFiller filler(side->tree_view, list.rows.size());
        list.rows.move_to(filler);
    }
    relay_hub::set_free_space(side->tree_view, list.free_bytes);
    relay_hub::set_current_folder(side, path.c_str());
}

// A request whose success needs no more than to be known.
int read_plain_result(const CallSite& site) {
    const ParsedAnswer answer = ParsedAnswer::take(site);
    if (answer.result() == 0)
        return 0;
    if (const XmlText reason = answer.reason()) {
        std::printf("%s\n", text_of(reason));
        g_return_message = text_of(reason);
    }
    return -1;
}

// A request accompanied by a progress dialog: the reason waits there until the request has ended.
int read_transfer_result(const CallSite& site, __send_args* args = nullptr) {
    const ParsedAnswer answer = ParsedAnswer::take(site);
    if (const XmlText arrived = args != nullptr ? answer.field(wire::kMoveArrived) : nullptr)
        args->arrived = text_of(arrived);
    if (answer.result() == 0) {
        std::printf("xml_string:%s\n", answer.text().c_str());
        return 0;
    }
    if (answer.text().empty())
        report(site, "xml string result fail!");
    if (const XmlText reason = answer.reason())
        SetShowMessageBox(text_of(reason));
    return -1;
}

// Anything but an exact "N" counts as on.
int judge_flag(const ParsedAnswer& answer, const char* tag) {
    const XmlText flag = answer.field(tag);
    return flag == nullptr || std::strcmp(text_of(flag), wire::kNo) == 0 ? -1 : 0;
}

int judge_online(const ParsedAnswer& answer) {
    return answer.result() == 0 ? judge_flag(answer, wire::kRemoteIsOnline) : -1;
}

int judge_connection(const ParsedAnswer& answer) {
    return judge_flag(answer, wire::kDeviceOn) == 0 ? judge_flag(answer, wire::kApplicationOn) : -1;
}

ParsedAnswer given_answer(const char* text) {
    return {text == nullptr ? "" : text, RIGHT_SIDE_HERE};
}

}  // namespace

int get_NP_VAL_CMD_GET_FILE_LIST(__send_args* args) {
    std::string text = relay_hub::take_answer();
    if (args == nullptr || relay_hub::window_is_closing())
        return -1;
    if (args->parsed == nullptr)
        (void)relay_hub::parse_file_list(*args, text);
    const auto list = std::static_pointer_cast<FileList>(std::exchange(args->parsed, nullptr));
    const int result = list->answer->result();
    if (result == 0) {
        show_folder(*list, args->list_path);
        return 0;
    }
    if (result == -1) {
        report(RIGHT_SIDE_HERE, text_of(list->answer->field(wire::kResult)));
        args->unlisted = true;
        if (args->tell_unlisted) {
            const XmlText reason = list->answer->reason();
            relay_hub::tell_no_folder(args->list_path, reason == nullptr ? "" : text_of(reason));
        }
    } else {
        report(RIGHT_SIDE_HERE, "no folder list in the answer, folder", args->list_path);
    }
    return -1;
}

int get_NP_VAL_CMD_GET_DRIVER_LIST(__send_args*) {
    const ParsedAnswer answer = ParsedAnswer::take(RIGHT_SIDE_HERE);
    if (answer.text().empty()) {
        report(RIGHT_SIDE_HERE, "xml string is NULL!");
        return -1;
    }
    if (answer.result() != 0) {
        report(RIGHT_SIDE_HERE, "link engine return fail!");
        return -1;
    }
    if (relay_hub::window_is_closing())
        return -1;
    walk_context context{get_UI_sets()->right_side, wire::kGetDriverList};
    traversal_xml(answer.fields(), wire::kRecord, get_xml_detial, &context);
    return 0;
}

int get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(__send_args*) {
    const ParsedAnswer answer = ParsedAnswer::take(RIGHT_SIDE_HERE);
    if (answer.form() != 0 || relay_hub::window_is_closing())
        return -1;
    walk_context context{get_UI_sets()->right_side, wire::kGetRemoteSpecialPath};
    traversal_xml(answer.fields(), wire::kDesktopFolder, get_xml_detial, &context);
    return 0;
}

int get_NP_VAL_CMD_CREATE_FOLDER(__send_args*) {
    const ParsedAnswer answer = ParsedAnswer::take(RIGHT_SIDE_HERE);
    const int result = answer.result();
    if (result == -1) {
        const XmlText reason = answer.reason();
        g_return_message = reason == nullptr ? "" : text_of(reason);
    }
    return result;
}

int get_NP_VAL_CMD_RENAME(__send_args*) {
    return read_plain_result(RIGHT_SIDE_HERE);
}

int get_NP_VAL_CMD_DELETE_FILE(__send_args*) {
    return read_plain_result(RIGHT_SIDE_HERE);
}

int get_NP_VAL_CMD_DELETE_FOLDER(__send_args*) {
    return read_plain_result(RIGHT_SIDE_HERE);
}

int get_NP_VAL_CMD_MOVE_FILE_TO_TRASH(__send_args*) {
    return read_transfer_result(RIGHT_SIDE_HERE);
}

int get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL(__send_args* args) {
    return read_transfer_result(RIGHT_SIDE_HERE, args);
}

int get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE(__send_args* args) {
    return read_transfer_result(RIGHT_SIDE_HERE, args);
}

int get_NP_VAL_CMD_CHECK_CONNECTION_STATUS(__send_args*) {
    return judge_connection(ParsedAnswer::take(RIGHT_SIDE_HERE));
}

int get_NP_VAL_CMD_CHECK_CONNECTION_STATUS_offline(__send_args*) {
    return judge_flag(ParsedAnswer::take(RIGHT_SIDE_HERE), wire::kLocalDeviceOn);
}

int get_NP_VAL_CMD_CHECK_REMOTE_ONLINE(__send_args*) {
    return judge_online(ParsedAnswer::take(RIGHT_SIDE_HERE));
}

int get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT(__send_args*) {
    return judge_flag(ParsedAnswer::take(RIGHT_SIDE_HERE), wire::kServerIsLive);
}

namespace relay_hub {

bool parse_file_list(__send_args& args, std::string& answer) {
    const auto list = std::make_shared<FileList>(std::move(answer));
    args.parsed = list;
    return list->answer->form() != RET_XML_NULL;
}

const std::string& return_message() {
    return g_return_message;
}

void free_return_message() {
    g_return_message.clear();
}

int judge_connection_status_offline(const char* answer) {
    return judge_flag(given_answer(answer), wire::kLocalDeviceOn);
}

int judge_remote_online(const char* answer) {
    return judge_online(given_answer(answer));
}

}  // namespace relay_hub
