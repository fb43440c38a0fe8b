#pragma once
// A folder of its own for each test, a private home folder for the whole run, and short words for files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "util/file_op.h"
#include "util/user_questions.h"

namespace util_test {

// The private home folder, set before GLib first looks at HOME.
const std::string& home();

void write_text(const std::string& path, const std::string& text, mode_t mode = 0644);
std::string read_text(const std::string& path);  // "(none)" when it cannot be read
struct stat record(const std::string& path);
mode_t mode_of(const std::string& path);
std::string link_text(const std::string& path);
bool exists(const std::string& path);
std::vector<std::string> names_in(const std::string& folder);  // sorted, hidden ones too
// Waits until the predicate holds, 10 seconds at most.
template <typename Predicate>
bool wait_for(Predicate predicate) {
    for (int attempt = 0; attempt < 10000 && !predicate(); ++attempt)
        usleep(1000);
    return predicate();
}

// While it lives, a test run by root has the rights of an ordinary user.
class OrdinaryUser {
  public:
    OrdinaryUser();
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    static constexpr uid_t kId = 65534;
};

// Gives preset answers; the last one again and again.
class PresetAnswers : public relay_hub::UserQuestions {
  public:
    int ask_overwrite(const std::string& question) override;
    void show_error(const std::string& primary, const std::string& secondary) override {
        errors.push_back(primary + "|" + secondary);
    }
    void show_job_error(const std::string& text) override { job_errors.push_back(text); }

    std::vector<int> answers;
    std::vector<std::string> questions;
    std::vector<std::string> errors;
    std::vector<std::string> job_errors;
};

class Sandbox : public testing::Test {
  protected:
    Sandbox();
    ~Sandbox() override;

    // A path below this test's folder.
    [[nodiscard]] std::string at(const std::string& name) const { return folder_ + "/" + name; }
    std::string make_folder(const std::string& name, mode_t mode = 0755) const;

    // Runs the copy job; returns its failures.
    std::vector<__task_failure> copy(const std::vector<std::string>& sources, const std::string& folder);
    std::vector<__task_failure> remove(const std::string& folder, const std::vector<std::string>& names);

    PresetAnswers answers;

  private:
    std::string folder_;
};

}  // namespace util_test
