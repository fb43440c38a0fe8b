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

// One request of the catalogue. Its traces keep the wording that readers of the logs know, slips included.
struct Request {
    const char* command;
    PipeClient client;
    const char* log_name = nullptr;
    const char* sent_word = "Send";  // null: the request is printed without a word before it
    bool in_event_log = true;
    std::array<Field, 2> fields = {};
    void (*add_items)(MessageWriter& message, const __send_args& args) = nullptr;
    bool awaits_answer = true;
    bool retries = false;
};

constexpr std::array<Field, 2> kSourceFields = {
    {{wire::kPath, &__send_args::source_path}, {wire::kPathHex, &__send_args::source_path_hex}}};

constexpr Request kFileList{
    .command = wire::kGetFileList,
    .client = PipeClient::kShared,
    .log_name = "NP_VAL_CMD_GET_FILE_LIST",
    .fields = {{{wire::kPath, &__send_args::list_path}, {wire::kPathHex, &__send_args::list_path_hex}}},
    .retries = true};
constexpr Request kDriverList{
    .command = wire::kGetDriverList, .client = PipeClient::kShared, .log_name = "NP_VAL_CMD_GET_DRIVER_LIST"};
constexpr Request kSpecialPath{.command = wire::kGetRemoteSpecialPath,
                               .client = PipeClient::kShared,
                               .log_name = "NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH"};
constexpr Request kRename{.command = wire::kRename,
                          .client = PipeClient::kOwn,
                          .log_name = "NP_VAL_CMD_RENAME",
                          .fields = {{{wire::kOldPathHex, &__send_args::source_path_hex},
                                      {wire::kNewPathHex, &__send_args::target_path_hex}}}};
constexpr Request kDeleteFile{.command = wire::kDeleteFile,
                              .client = PipeClient::kOwn,
                              .log_name = "NP_VAL_CMD_DELETE_FILE",
                              .fields = kSourceFields};
constexpr Request kDeleteFolder{.command = wire::kDeleteFolder,
                                .client = PipeClient::kOwn,
                                .log_name = "NP_VAL_CMD_DELETE_FOLDER",
                                .fields = kSourceFields};
constexpr Request kMoveToTrash{.command = wire::kMoveFileToTrash,
                               .client = PipeClient::kOwn,
                               .log_name = "NP_VAL_CMD_MOVE_FILE_TO_TRASH",
                               .sent_word = "Sender",
                               .add_items = add_trash_items};
constexpr Request kCreateFolder{.command = wire::kCreateFolder,
                                .client = PipeClient::kOwn,
                                .log_name = "NP_VAL_CMD_CREATE_FOLDER",
                                .sent_word = "Receive",
                                .fields = kSourceFields};
constexpr Request kExit{.command = wire::kExitLinkEngine,
                        .client = PipeClient::kOwn,
                        .sent_word = nullptr,
                        .in_event_log = false,
                        .awaits_answer = false};
constexpr Request kRemoteToLocal{.command = wire::kRemoteToLocal,
                                 .client = PipeClient::kOwn,
                                 .log_name = "NP_VAL_CMD_COPY_REMOTE_TO_LOCAL",
                                 .add_items = add_remote_to_local_items};
constexpr Request kLocalToRemote{.command = wire::kLocalToRemote,
                                 .client = PipeClient::kOwn,
                                 .log_name = "NP_VAL_CMD_COPY_LOCAL_TO_REMOTE",
                                 .add_items = add_local_to_remote_items};
constexpr Request kConnectionStatus{.command = wire::kCheckConnectionStatus,
                                    .client = PipeClient::kShared,
                                    .log_name = "NP_VAL_CMD_CHECK_CONNECTION_STATUS"};
constexpr Request kRemoteOnline{.command = wire::kCheckRemoteOnline,
                                .client = PipeClient::kShared,
                                .log_name = "NP_VAL_CMD_CHECK_REMOTE_ONLINE"};
// Asked every few seconds: it would drown the event log.
constexpr Request kHeartbeat{.command = wire::kCheckForHeartbeat,
                             .client = PipeClient::kOwn,
                             .log_name = "NP_VAL_CMD_CHECK_FOR_HEARTBEAT",
                             .sent_word = nullptr,
                             .in_event_log = false};

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
    if (request.in_event_log)
        log_event_parts({request.log_name, " ", word, ":[ ", text, " ]"});
}

void trace_sent(const Request& request, const std::string& message) {
    if (request.sent_word)
        trace(request, request.sent_word, message);
    else
        std::puts(message.c_str());
}

void send(const Request& request, CNamePipeBase& channel, const std::string& message, std::string& answer) {
    if (request.awaits_answer)
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
        if (request.awaits_answer)
            trace(request, "Receive", answer);
        if (!request.retries || is_usable(args, answer) || !may_retry())
            return answer;
    }
}

std::string exchange_on_channel(const Request& request, const std::string& message, __send_args* args) {
    if (request.client == PipeClient::kShared)
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
    if (!request.awaits_answer)
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
