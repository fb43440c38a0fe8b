#pragma once
// A sandbox for jobs: preset answers, and a private home folder for the whole run.
#include "sandbox.h"
#include "util/job_state.h"
#include "util/user_questions.h"

namespace util_test {

// The private home folder, set before GLib first looks at HOME.
std::string home();

// Gives preset answers; the last one again and again.
class PresetAnswers : public relay_hub::UserQuestions {
  public:
    int ask_overwrite(const relay_hub::OverwriteQuestion& question) override;
    void show_error(const std::string& primary, const std::string& secondary) override {
        errors.push_back(primary + "|" + secondary);
    }
    void show_job_error(const std::string& text) override { job_errors.push_back(text); }

    std::vector<int> answers;
    std::vector<std::string> questions;
    relay_hub::OverwriteQuestion last_question;
    std::vector<std::string> errors;
    std::vector<std::string> job_errors;
};

class Sandbox : public testing::Test, public test::Sandbox {
  protected:
    Sandbox();
    ~Sandbox() override;

    // Runs the copy job; returns its failures.
    std::vector<__task_failure> copy(const std::vector<std::string>& sources, const std::string& folder);
    std::vector<__task_failure> remove(const std::string& folder, const std::vector<std::string>& names);

    PresetAnswers answers;
};

}  // namespace util_test
