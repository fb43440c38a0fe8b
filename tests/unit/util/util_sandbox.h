#pragma once
// A sandbox for jobs: preset answers, and a private home folder for the whole run.
#include <clocale>

#include "preset_answers.h"
#include "sandbox.h"
#include "util/Zev_file_op.h"
#include "util/copy_job.h"
#include "util/delete_job.h"
#include "util/folder_listing.h"
#include "util/job_state.h"

namespace util_test {

// Stands before GLib's first look at HOME.
inline const struct PrivateHome {
    PrivateHome() {
        setenv("HOME", folder.at().c_str(), 1);
        std::setlocale(LC_ALL, "C.UTF-8");
    }
    const test::Sandbox folder;
} home;

class Sandbox : public testing::Test, public test::Sandbox {
  protected:
    Sandbox() {
        relay_hub::set_user_questions(&answers);
        Gfile_release_file_info_linked_list();
        relay_hub::file_op_state = {};
    }
    ~Sandbox() override { relay_hub::set_user_questions(nullptr); }

    static relay_hub::TaskListPtr new_job(const test::Names& items, const std::string& folder) {
        relay_hub::TaskListPtr job(new_task_list());
        job->items = items;
        job->folder = folder;
        return job;
    }
    // These run the job and return its failures.
    static std::vector<__task_failure> copy(const test::Names& sources, const std::string& folder) {
        return run(Gfile_local_copy, sources, folder);
    }
    static std::vector<__task_failure> remove(const std::string& folder, const test::Names& names) {
        return run(Gfile_local_delete, names, folder);
    }

    test::PresetAnswers answers;

  private:
    static std::vector<__task_failure> run(int (*job_routine)(void*), const test::Names& items,
                                           const std::string& folder) {
        const relay_hub::TaskListPtr job = new_job(items, folder);
        EXPECT_EQ(job_routine(job.get()), 0);
        tasks = nullptr;
        return job->failures;
    }
};

}  // namespace util_test
