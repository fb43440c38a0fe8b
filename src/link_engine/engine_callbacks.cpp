#include "link_engine/engine_callbacks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <string>

#include "base/diagnostics.h"
#include "base/log.h"
#include "link_engine/confirmation.h"
#include "link_engine/message_names.h"
#include "link_engine/transfer_state.h"
#include "name_pipe/name_pipe_base.h"
#include "util/user_questions.h"
#include "xml_doc/zev_xml.h"

namespace relay_hub {
namespace {

// On standard error, and in the event log.
void trace(const char* prefix, const std::string& text) {
    std::fprintf(stderr, "%s%s\n", prefix, text.c_str());
    log_event("%s%s", prefix, text.c_str());
}

std::string single_field(const char* name, const char* value) {
    CZEVXML document;
    document.Generate(name, std::string(value));
    return document.GetXML();
}

// What the user may answer, and the element in which the engine gets it.
struct ConfirmAnswer {
    int response;
    int value;
    const char* element;
};
constexpr ConfirmAnswer kConfirmAnswers[] = {{REQUEST_YES, kConfirmYes, wire::kConfirmationYes},
                                             {REQUEST_NO, kConfirmNo, wire::kConfirmationNo},
                                             {kRequestSkipAll, kConfirmNo, wire::kConfirmationNo},
                                             {REQUEST_ALL, kConfirmReplaceAll, wire::kConfirmationReplaceAll},
                                             {REQUEST_CANCEL, kConfirmCancel, wire::kConfirmationCancel}};

std::string confirmation_answer(int value) {
    CZEVXML document;
    for (const ConfirmAnswer& answer : kConfirmAnswers) {
        if (answer.value != value)
            continue;
        document.Generate(answer.element, std::string(wire::kYes));
        if (value == kConfirmNo && all_that_follow_is_refused())
            document.Generate(wire::kConfirmationNoToAll, std::string(wire::kYes));
        return document.GetXML();
    }
    if (value == kConfirmNone)
        std::puts("is CONFIRM_NONE");
    else
        std::fputs("no capture any confirm value\n", stderr);
    return document.GetXML();
}

// Each takes the call-back's text and document and returns the answer, empty for none.
std::string get_confirmation_for_copy(const std::string& text, CZEVXML& document) {
    trace("[in NP_VAL_CMD_GET_CONFIRMATION_FOR_COPY] str.c_str() = ", text);
    const int value = wait_for_confirmation(document.Query(wire::kConfirmationMessage));
    std::string answer = confirmation_answer(value);
    trace("[out NP_VAL_CMD_GET_CONFIRMATION_FOR_COPY] strData.c_str() = ", answer);
    return answer;
}

std::string check_for_user_click_cancel(const std::string&, CZEVXML&) {
    std::string answer =
        single_field(wire::kUserClickCancel, IsUserClickCancel() == -1 ? wire::kYes : wire::kNo);
    trace("[NP_VAL_CMD_CHECK_FOR_USER_CLICK_CANCEL] strData.c_str() = ", answer);
    return answer;
}

std::string copy_progress_status_notify(const std::string& text, CZEVXML& document) {
    trace("[NP_VAL_CMD_COPY_PROGRESS_STATUS_UPDATE] str.c_str() = ", text);
    if (IsEnableInformation() == kSwitchOff) {
        SetEnableInformation(kSwitchOn);
        ProgressStatusUpdate(&document);
        SetEnableInformation(kSwitchOff);
    }
    return {};
}

std::string show_message_box(const std::string& text, CZEVXML& document) {
    trace("[NP_VAL_CMD_SHOW_MESSAGE_BOX] str.c_str() = ", text);
    SetShowMessageBox(document.Query(wire::kMessageBoxContent).c_str());
    return {};
}

std::string handle_remote_request(const std::string&, CZEVXML&) {
    std::puts("NP_VAL_CMD_HANDLE_REMOTE_REQUEST begin");
    std::string answer = single_field(wire::kResult, wire::kFail);
    std::puts("NP_VAL_CMD_HANDLE_REMOTE_REQUEST end");
    return answer;
}

std::string remote_is_offline(const std::string& text, CZEVXML&) {
    std::printf("==%s==\n", text.c_str());
    log_event("NP_VAL_CMD_REMOTE_IS_OFFLINE Receive:[ %s ]", text.c_str());
    set_offline_interrupt(1);
    if (void (*const remote_offline)() = shared_transfer.remote_offline)
        remote_offline();
    return single_field(wire::kResult, wire::kSuccess);
}

struct Callback {
    const char* command;
    std::string (*serve)(const std::string& text, CZEVXML& document);
};
constexpr Callback kCallbacks[] = {{wire::kGetConfirmationForCopy, get_confirmation_for_copy},
                                   {wire::kCheckForUserClickCancel, check_for_user_click_cancel},
                                   {wire::kCopyProgressStatusNotify, copy_progress_status_notify},
                                   {wire::kShowMessageBox, show_message_box},
                                   {wire::kHandleRemoteRequest, handle_remote_request},
                                   {wire::kRemoteIsOffline, remote_is_offline}};

std::string serve(const std::string& text) {
    CZEVXML document;
    document.LoadXML(text);
    const std::string command = document.Query(wire::kCommand);
    CNamePipeBase::ResetStatus();
    for (const Callback& callback : kCallbacks)
        if (command == callback.command)
            return callback.serve(text, document);
    return {};
}

void put_answer(const std::string& text, char* answer, unsigned int answer_size) {
    if (!text.empty() && text.size() + 1 < answer_size)
        std::memcpy(answer, text.c_str(), text.size() + 1);
}

int confirm_value_of(int response) {
    for (const ConfirmAnswer& answer : kConfirmAnswers)
        if (answer.response == response)
            return answer.value;
    return kConfirmNone;
}

// A progress bar cannot show what is not a number.
float percentage(double value) {
    constexpr double kLargest = std::numeric_limits<float>::max();
    return std::isfinite(value) ? static_cast<float>(std::clamp(value, -kLargest, kLargest)) : 0;
}

void note_activity() {
    shared_transfer.last_activity = std::chrono::steady_clock::now();
}

// The same file may have another size and time when it is asked about again.
std::string without_facts(const std::string& question) {
    return question.substr(0, question.find("\n\n"));
}

// A request that is sent again asks nothing: what the user agreed to holds, and what else is there stays.
int answer_again(__send_args& args, const std::string& question) {
    const std::string asked = without_facts(question);
    if (args.refused_questions.contains(asked))
        return REQUEST_NO;
    if (args.agreed_to_all)
        return args.refused_questions.empty() ? REQUEST_ALL : REQUEST_YES;
    if (args.agreed_questions.contains(asked))
        return REQUEST_YES;
    if (args.refused_all)
        return args.agreed_questions.empty() ? kRequestSkipAll : REQUEST_NO;
    args.left_unasked.push_back(asked);
    return REQUEST_NO;
}

int answer_by_user(__send_args& args, const std::string& question) {
    UserQuestions* const questions = get_user_questions();
    const int response =
        questions != nullptr ? questions->ask_overwrite({.text = question, .parent = args.parent_window}) : 0;
    args.agreed_to_all = args.agreed_to_all || response == REQUEST_ALL;
    args.refused_all = args.refused_all || response == kRequestSkipAll;
    if (response == REQUEST_YES)
        args.agreed_questions.insert(without_facts(question));
    if (response == REQUEST_NO)
        args.refused_questions.insert(without_facts(question));
    return response;
}

void ask_user(__send_args& args) {
    const std::string question = GetConfirmMessage();
    const int response = args.sent_again ? answer_again(args, question) : answer_by_user(args, question);
    const int value = confirm_value_of(response);
    SetConfirmValue(value);
    if (response == kRequestSkipAll)
        refuse_all_that_follow();
    args.refused = args.refused || (value != kConfirmYes && value != kConfirmReplaceAll);
    if (value == kConfirmCancel)
        cancel_atomic(&args.state);
}

}  // namespace

void set_remote_offline_handler(void (*handler)()) {
    shared_transfer.remote_offline = handler;
}

bool confirmation_being_asked() {
    return shared_transfer.asking;
}

std::chrono::steady_clock::time_point last_engine_activity() {
    return shared_transfer.last_activity;
}

}  // namespace relay_hub

unsigned int ServiceProvider(char* body, unsigned int length, char* answer, unsigned int answer_size) try {
    std::printf("Enter into ServiceProvider(...) inputlen=%u\n", length);
    relay_hub::log_event("Enter into ServiceProvider(...) inputlen=%u", length);
    if (length == 0)
        return 0;
    if (length < relay_hub::kCommandMarker.size() || !CNamePipeBase::IsCommandData(body)) {
        std::fprintf(stderr, "[IsCommandData] no handle = %.*s\n", static_cast<int>(length), body);
        return 1;
    }
    relay_hub::note_activity();
    set_change_flag(kTransferCalledBack);
    const char* payload = CNamePipeBase::GetPureData(body);
    const std::string text(payload, strnlen(payload, length - relay_hub::kCommandMarker.size()));
    relay_hub::put_answer(relay_hub::serve(text), answer, answer_size);
    relay_hub::note_activity();
    return 1;
} catch (const std::exception& failure) {
    relay_hub::report(RELAY_HUB_HERE, "a call-back of the link engine was not served:", failure.what());
    return 1;
}

int ProgressStatusUpdate(CZEVXML* document) {
    SetCurrentPercentage(relay_hub::percentage(document->QueryDbl(wire::kProgressCurrent)));
    SetProgressInfo(document->Query(wire::kProgressInfo).c_str());
    SetProcessElapseTime(document->Query(wire::kProgressElapsedTime).c_str());
    SetTotalPercent(relay_hub::percentage(document->QueryDbl(wire::kProgressTotal)));
    return 0;
}

void link_engine_confirm(__send_args* args) {
    if (relay_hub::shared_transfer.asking)
        return;
    if (!args) {
        SetConfirmValue(kConfirmNone);
    } else if (GetInformationRequest() == kConfirmationWanted) {
        relay_hub::shared_transfer.asking = true;
        relay_hub::ask_user(*args);
        relay_hub::shared_transfer.asking = false;
    }
    SetInformationRequest(kNoRequest);
}
