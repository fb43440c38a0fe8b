#include "unit/util/util_sandbox.h"

#include <clocale>

#include "util/Zev_file_op.h"
#include "util/copy_job.h"
#include "util/delete_job.h"
#include "util/folder_listing.h"

namespace util_test {
namespace {

// Stands before GLib's first look at HOME.
struct PrivateHome {
    PrivateHome() {
        setenv("HOME", folder.at().c_str(), 1);
        std::setlocale(LC_ALL, "C.UTF-8");
    }
    const test::Sandbox folder;
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

std::string home() {
    return private_home.folder.at();
}

int PresetAnswers::ask_overwrite(const relay_hub::OverwriteQuestion& question) {
    questions.push_back(question.text);
    last_question = question;
    if (answers.empty())
        return -4;
    return answers[std::min(questions.size(), answers.size()) - 1];
}

Sandbox::Sandbox() {
    relay_hub::set_user_questions(&answers);
    Gfile_release_file_info_linked_list();
    relay_hub::file_op_state = {};
}

Sandbox::~Sandbox() {
    relay_hub::set_user_questions(nullptr);
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
