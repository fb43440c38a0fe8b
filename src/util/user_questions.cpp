#include "util/user_questions.h"

#include <atomic>

namespace relay_hub {
namespace {

std::atomic<UserQuestions*> current_questions{nullptr};

}  // namespace

void set_user_questions(UserQuestions* questions) {
    current_questions = questions;
}

UserQuestions* get_user_questions() {
    return current_questions;
}

}  // namespace relay_hub
