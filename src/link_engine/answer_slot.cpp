#include "link_engine/answer_slot.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace {

struct Slots {
    std::mutex mutex;
    relay_hub::AnswerCell answer;  // guarded by mutex
    std::atomic<__send_args*> argument = nullptr;
};

Slots slots;
thread_local relay_hub::AnswerCell* bound_cell = nullptr;

template <typename Action>
auto with_answer(Action action) {
    if (bound_cell)
        return action(*bound_cell);
    const std::lock_guard lock(slots.mutex);
    return action(slots.answer);
}

}  // namespace

int set_xml_string(const char* text) {
    if (!text)
        return -1;
    return with_answer([text](relay_hub::AnswerCell& answer) {
        answer = text;
        return 0;
    });
}

const char* get_xml_string() {
    return with_answer(
        [](relay_hub::AnswerCell& answer) -> const char* { return answer ? answer->c_str() : nullptr; });
}

int release_xml_string() {
    return with_answer([](relay_hub::AnswerCell& answer) {
        answer.reset();
        return 0;
    });
}

void SetArgument(__send_args* args) {
    if (args)
        slots.argument = args;
}

__send_args* GetArgument() {
    return slots.argument;
}

void ReleaseArgument() {
    slots.argument = nullptr;
}

void release_notify_name_pipe() {}

namespace relay_hub {

void set_answer(std::string text) {
    with_answer([&text](AnswerCell& answer) { answer = std::move(text); });
}

std::string take_answer() {
    return with_answer(
        [](AnswerCell& answer) { return std::exchange(answer, std::nullopt).value_or(std::string()); });
}

AnswerScope::AnswerScope(AnswerCell& cell) : outer_(bound_cell) {
    bound_cell = &cell;
}

AnswerScope::~AnswerScope() {
    bound_cell = outer_;
}

}  // namespace relay_hub
