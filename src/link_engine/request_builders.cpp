#include "link_engine/request_builders.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>

#include "base/log.h"
#include "base/wait.h"
#include "link_engine/answer_slot.h"
#include "link_engine/message_names.h"
#include "link_engine/request_items.h"
#include "link_engine/send_args.h"
#include "name_pipe/name_pipe_base.h"
#include "xml_doc/message_writer.h"

namespace relay_hub {
namespace {

enum class PipeClient { kShared, kOwn };

struct Field {
    const char* name = nullptr;
    std::string __send_args::*value = nullptr;
};

// What is special about a request. Its traces keep the wording that readers of the logs know, slips included.
struct Manner {
    const char* sent_word = "Send";  // null: the request is printed without a word before it
    bool in_event_log = true;
    bool awaits_answer = true;
    bool retries = false;
};

// One request of the catalogue.
struct Request {
    const char* command;
    const char* log_name;
    PipeClient client;
    std::array<Field, 2> fields = {};
    void (*add_items)(MessageWriter& message, const __send_args& args) = nullptr;
    Manner manner = {};
};

using enum PipeClient;
constexpr Manner kUntraced{.sent_word = nullptr, .in_event_log = false};  // asked every few seconds
constexpr Manner kPosted{.sent_word = nullptr, .awaits_answer = false};
constexpr std::array<Field, 2> kListFields = {
    {{wire::kPath, &__send_args::list_path}, {wire::kPathHex, &__send_args::list_path_hex}}};
constexpr std::array<Field, 2> kSourceFields = {
    {{wire::kPath, &__send_args::source_path}, {wire::kPathHex, &__send_args::source_path_hex}}};
constexpr std::array<Field, 2> kRenameFields = {
    {{wire::kOldPathHex, &__send_args::source_path_hex}, {wire::kNewPathHex, &__send_args::target_path_hex}}};

constexpr Request kFileList{wire::kGetFileList, "NP_VAL_CMD_GET_FILE_LIST", kShared, kListFields, nullptr,
                            {.retries = true}};
constexpr Request kDriverList{wire::kGetDriverList, "NP_VAL_CMD_GET_DRIVER_LIST", kShared};
constexpr Request kSpecialPath{wire::kGetRemoteSpecialPath, "NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH", kShared};
constexpr Request kRename{wire::kRename, "NP_VAL_CMD_RENAME", kOwn, kRenameFields};
constexpr Request kDeleteFile{wire::kDeleteFile, "NP_VAL_CMD_DELETE_FILE", kOwn, kSourceFields};
constexpr Request kDeleteFolder{wire::kDeleteFolder, "NP_VAL_CMD_DELETE_FOLDER", kOwn, kSourceFields};
constexpr Request kMoveToTrash{wire::kMoveFileToTrash, "NP_VAL_CMD_MOVE_FILE_TO_TRASH", kOwn, {},
                               add_trash_items,        {.sent_word = "Sender"}};
constexpr Request kCreateFolder{
    wire::kCreateFolder, "NP_VAL_CMD_CREATE_FOLDER", kOwn, kSourceFields, nullptr, {.sent_word = "Receive"}};
constexpr Request kRemoteToLocal{
    wire::kRemoteToLocal, "NP_VAL_CMD_COPY_REMOTE_TO_LOCAL", kOwn, {}, add_remote_to_local_items};
constexpr Request kLocalToRemote{
    wire::kLocalToRemote, "NP_VAL_CMD_COPY_LOCAL_TO_REMOTE", kOwn, {}, add_local_to_remote_items};
constexpr Request kConnectionStatus{wire::kCheckConnectionStatus, "NP_VAL_CMD_CHECK_CONNECTION_STATUS",
                                    kShared};
constexpr Request kRemoteOnline{wire::kCheckRemoteOnline, "NP_VAL_CMD_CHECK_REMOTE_ONLINE", kShared};
constexpr Request kExit{wire::kExitLinkEngine, "NP_VAL_CMD_EXIT_LINK_ENGINE", kOwn, {}, nullptr, kPosted};
constexpr Request kHeartbeat{
    wire::kCheckForHeartbeat, "NP_VAL_CMD_CHECK_FOR_HEARTBEAT", kOwn, {}, nullptr, kUntraced};

constexpr int kFileListRetries = 5;
constexpr std::chrono::milliseconds kRetryPause{2000};

struct CommandChannel {
    std::mutex mutex;
    std::string base;  // guarded by mutex; empty for kCommandPipe
    // Shared by all file lists of one run of the program, so that a dead engine costs its pauses only once.
    std::atomic<int> file_list_retries = 0;
};
CommandChannel command_channel;

std::string compose(const Request& request, const __send_args& args) {
    MessageWriter message;
    message.add(wire::kCommand, request.command);
    for (const Field& field : request.fields)
        if (field.name)
            message.add(field.name, args.*field.value);
    if (args.is_move)
        message.add(wire::kMove, wire::kYes);
    if (request.add_items)
        request.add_items(message, args);
    return message.finish();
}

void trace(const Request& request, const char* word, const std::string& text) {
    std::printf("%s %s:[ %s ]\n", request.log_name, word, text.c_str());
    if (request.manner.in_event_log)
        log_event_parts({request.log_name, " ", word, ":[ ", text, " ]"});
}

void trace_sent(const Request& request, const std::string& message) {
    if (request.manner.sent_word)
        trace(request, request.manner.sent_word, message);
    else
        std::puts(message.c_str());
}

void send(const Request& request, CNamePipeBase& channel, const std::string& message, std::string& answer) {
    if (request.manner.awaits_answer)
        channel.NPSendMessage(message, answer, command_pipe(), kCommandData);
    else
        channel.NPPostMessage(message, command_pipe(), kCommandData);
}

bool may_retry() {
    return command_channel.file_list_retries.fetch_add(1) < kFileListRetries &&
           interruptible_sleep(kRetryPause);
}

bool is_usable(__send_args* args, std::string& answer) {
    return args != nullptr && args->parse != nullptr ? args->parse(*args, answer) : !answer.empty();
}

std::string exchange(const Request& request, CNamePipeBase& channel, const std::string& message,
                     __send_args* args) {
    for (;;) {
        std::string answer;
        send(request, channel, message, answer);
        if (request.manner.awaits_answer)
            trace(request, "Receive", answer);
        if (!request.manner.retries || is_usable(args, answer) || !may_retry())
            return answer;
    }
}

std::string exchange_on_channel(const Request& request, const std::string& message, __send_args* args) {
    if (request.client == kShared)
        return exchange(request, NPClient_object, message, args);
    CNamePipeBase channel(command_pipe(), kPipeBufferSize, kPipeBufferSize);
    return exchange(request, channel, message, args);
}

int run(const Request& request, void* block) {
    const __send_args nothing;
    auto* args = static_cast<__send_args*>(block);
    const std::string message = compose(request, args ? *args : nothing);
    trace_sent(request, message);
    const bool cancelled = args && get_atomic(&args->state) == TASK_CANCEL;
    std::string answer = cancelled ? std::string() : exchange_on_channel(request, message, args);
    if (!request.manner.awaits_answer)
        return 0;
    set_answer(std::move(answer));
    if (args && get_atomic(&args->state) != TASK_CANCEL)
        set_atomic(&args->state, kStateFinished);
    return 0;
}

}  // namespace

std::string command_pipe() {
    const std::lock_guard lock(command_channel.mutex);
    return command_channel.base.empty() ? kCommandPipe : command_channel.base;
}

void set_command_pipe_for_tests(std::string base) {
    const std::lock_guard lock(command_channel.mutex);
    command_channel.base = std::move(base);
    command_channel.file_list_retries = 0;
}

}  // namespace relay_hub

int set_NP_VAL_CMD_GET_FILE_LIST(void* args) {
    return relay_hub::run(relay_hub::kFileList, args);
}

int set_NP_VAL_CMD_GET_DRIVER_LIST(void* args) {
    return relay_hub::run(relay_hub::kDriverList, args);
}

int set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(void* args) {
    return relay_hub::run(relay_hub::kSpecialPath, args);
}

int set_NP_VAL_CMD_RENAME(void* args) {
    return relay_hub::run(relay_hub::kRename, args);
}

int set_NP_VAL_CMD_DELETE_FILE(void* args) {
    return relay_hub::run(relay_hub::kDeleteFile, args);
}

int set_NP_VAL_CMD_DELETE_FOLDER(void* args) {
    return relay_hub::run(relay_hub::kDeleteFolder, args);
}

int set_NP_VAL_CMD_MOVE_FILE_TO_TRASH(void* args) {
    return relay_hub::run(relay_hub::kMoveToTrash, args);
}

int set_NP_VAL_CMD_CREATE_FOLDER(void* args) {
    return relay_hub::run(relay_hub::kCreateFolder, args);
}

int set_NP_VAL_CMD_EXIT_LINK_ENGINE(void* args) {
    return relay_hub::run(relay_hub::kExit, args);
}

int set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL(void* args) {
    return args ? relay_hub::run(relay_hub::kRemoteToLocal, args) : -1;
}

int set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE(void* args) {
    return args ? relay_hub::run(relay_hub::kLocalToRemote, args) : -1;
}

int set_NP_VAL_CMD_CHECK_CONNECTION_STATUS(void* args) {
    return relay_hub::run(relay_hub::kConnectionStatus, args);
}

int set_NP_VAL_CMD_CHECK_REMOTE_ONLINE(void* args) {
    return relay_hub::run(relay_hub::kRemoteOnline, args);
}

int set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT(void* args) {
    return relay_hub::run(relay_hub::kHeartbeat, args);
}
