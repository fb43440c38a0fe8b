#pragma once
#include <algorithm>
#include <functional>

#include "util/user_questions.h"

namespace test {

struct PresetAnswers : relay_hub::UserQuestions {
    int ask_overwrite(const relay_hub::OverwriteQuestion& question) override {
        questions.push_back(question);
        if (on_question)
            on_question();
        return answers.empty() ? -4 : answers[std::min(questions.size(), answers.size()) - 1];
    }
    void show_error(const std::string& primary, const std::string& secondary) override {
        errors.push_back(primary + "|" + secondary);
    }
    void show_job_error(const std::string& text) override { job_errors.push_back(text); }

    std::vector<int> answers;  // the last one again and again
    std::function<void()> on_question;
    std::vector<relay_hub::OverwriteQuestion> questions;
    std::vector<std::string> errors;
    std::vector<std::string> job_errors;
};

}  // namespace test
