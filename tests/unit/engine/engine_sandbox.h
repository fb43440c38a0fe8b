#pragma once
// A served folder and one of this machine for each test, and a front end with preset answers.
#include "engine/folder/folder_file_system.h"
#include "engine/front_end.h"
#include "sandbox.h"

namespace relay_hub::engine {

using namespace test;

class EngineSandbox : public testing::Test, protected test::Sandbox {
  protected:
    EngineSandbox() {
        remote_ = FolderFileSystem::open(served_, Reach::kBeneath, Style::kWindows);
        local_ = FolderFileSystem::open("/", Reach::kWholeMachine, Style::kPosix);
    }

    std::string served_ = make_folder("served");
    std::string mine_ = make_folder("mine");
    std::shared_ptr<FolderFileSystem> remote_;
    std::shared_ptr<FolderFileSystem> local_;
};

class PresetFrontEnd : public FrontEnd {
  public:
    OverwriteAnswer confirm(const std::string& question) override {
        questions.push_back(question);
        if (on_question)
            on_question();
        return questions.size() <= answers.size() ? answers[questions.size() - 1] : OverwriteAnswer::kNone;
    }
    bool broken_off() override { return false; }
    bool cancelled() override { return cancels_after_question && !questions.empty(); }
    void progress(const Progress& report) override { last_progress = report; }
    bool message(const std::string& text) override {
        messages.push_back(text);
        return takes_messages;
    }

    std::vector<OverwriteAnswer> answers;
    std::function<void()> on_question;
    std::vector<std::string> questions;
    std::vector<std::string> messages;
    bool takes_messages = true;
    bool cancels_after_question = false;
    Progress last_progress;
};

}  // namespace relay_hub::engine
