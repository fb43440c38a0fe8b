#include "unit/util/util_sandbox.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace util_test {
namespace {

namespace fs = std::filesystem;

std::string new_folder() {
    std::string pattern = testing::TempDir() + "relay-hub-util-XXXXXX";
    return mkdtemp(pattern.data()) == nullptr ? std::string() : pattern;
}

// Stands before GLib's first look at HOME.
struct PrivateHome {
    PrivateHome() {
        setenv("HOME", path.c_str(), 1);
        std::setlocale(LC_ALL, "C.UTF-8");
    }
    ~PrivateHome() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    PrivateHome(const PrivateHome&) = delete;
    PrivateHome& operator=(const PrivateHome&) = delete;

    const std::string path = new_folder();
};

const PrivateHome private_home;

std::vector<__task_failure> run(int (*job_routine)(void*), const std::vector<std::string>& items,
                                const std::string& folder) {
    const relay_hub::TaskListPtr job(new_task_list());
    job->items = items;
    job->folder = folder;
    EXPECT_EQ(job_routine(job.get()), 0);
    tasks = nullptr;
    return job->failures;
}

}  // namespace

const std::string& home() {
    return private_home.path;
}

void write_text(const std::string& path, const std::string& text, mode_t mode) {
    std::ofstream(path, std::ios::binary) << text;
    ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
}

std::string read_text(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file)
        return "(none)";
    text << file.rdbuf();
    return text.str();
}

struct stat record(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

mode_t mode_of(const std::string& path) {
    return record(path).st_mode & ALLPERMS;
}

std::string link_text(const std::string& path) {
    std::error_code ignored;
    return fs::read_symlink(path, ignored);
}

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

std::vector<std::string> names_in(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

// The saved id leads back; access(2) goes by the real one.
OrdinaryUser::OrdinaryUser() {
    EXPECT_EQ(setresuid(kId, kId, 0), 0);
}

OrdinaryUser::~OrdinaryUser() {
    EXPECT_EQ(setresuid(0, 0, 0), 0);
}

int PresetAnswers::ask_overwrite(const std::string& question) {
    questions.push_back(question);
    if (answers.empty())
        return -4;
    return answers[std::min(questions.size(), answers.size()) - 1];
}

Sandbox::Sandbox() : folder_(new_folder()) {
    relay_hub::set_user_questions(&answers);
    relay_hub::reset_file_op_globals();
}

Sandbox::~Sandbox() {
    relay_hub::set_user_questions(nullptr);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::string Sandbox::make_folder(const std::string& name, mode_t mode) const {
    std::string path = at(name);
    fs::create_directories(path);
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
}

std::vector<__task_failure> Sandbox::copy(const std::vector<std::string>& sources,
                                          const std::string& folder) {
    return run(Gfile_local_copy, sources, folder);
}

std::vector<__task_failure> Sandbox::remove(const std::string& folder,
                                            const std::vector<std::string>& names) {
    return run(Gfile_local_delete, names, folder);
}

}  // namespace util_test
