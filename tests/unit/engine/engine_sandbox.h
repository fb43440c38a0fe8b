#pragma once
// A folder of its own for each test, and a front end with preset answers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "engine/folder_file_system.h"
#include "engine/front_end.h"

namespace relay_hub::engine {

class EngineSandbox : public testing::Test {
  protected:
    EngineSandbox() {
        std::string name = std::filesystem::temp_directory_path() / "engine-test-XXXXXX";
        top_ = mkdtemp(name.data());
        served_ = top_ + "/served";
        mine_ = top_ + "/mine";
        std::filesystem::create_directories(served_);
        std::filesystem::create_directories(mine_);
        remote_ = FolderFileSystem::open(served_, Reach::kBeneath);
        local_ = FolderFileSystem::open("/", Reach::kWholeMachine);
    }
    ~EngineSandbox() override {
        std::error_code ignored;
        std::filesystem::remove_all(top_, ignored);
    }

    static void write(const std::string& path, const std::string& content, mode_t mode = 0644) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
    }
    static std::string read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        if (!file)
            return "(missing)";
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static bool exists(const std::string& path) {
        struct stat status {};
        return lstat(path.c_str(), &status) == 0;
    }
    // Names in folder, hidden ones too, sorted.
    static std::vector<std::string> names(const std::string& folder) {
        std::vector<std::string> found;
        for (const auto& item : std::filesystem::directory_iterator(folder))
            found.push_back(item.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }
    // The path inside the local tree.
    [[nodiscard]] std::string mine(const std::string& name = "") const {
        return (mine_ + (name.empty() ? "" : "/" + name)).substr(1);
    }

    std::string top_;
    std::string served_;
    std::string mine_;
    std::unique_ptr<FolderFileSystem> remote_;
    std::unique_ptr<FolderFileSystem> local_;
};

class PresetFrontEnd : public FrontEnd {
  public:
    Answer confirm(const std::string& question) override {
        questions.push_back(question);
        return questions.size() <= answers.size() ? answers[questions.size() - 1] : Answer::kCancel;
    }
    bool cancelled() override {
        ++polls;
        return is_cancelled && is_cancelled();
    }
    void progress(const Progress& report) override { reports.push_back(report); }
    void message(const std::string& text) override { messages.push_back(text); }

    std::vector<Answer> answers;
    std::function<bool()> is_cancelled;
    std::vector<std::string> questions;
    std::vector<Progress> reports;
    std::vector<std::string> messages;
    int polls = 0;
};

}  // namespace relay_hub::engine
