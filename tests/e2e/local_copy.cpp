// The window's own copy job without the window, for tests that end it in the middle:
//   local_copy SOURCE... FOLDER
// replaces what is there. Exits with 1 when an entry failed.
#include <cstdio>

#include "util/file_op.h"
#include "util/user_questions.h"

namespace {

class ReplaceAll : public relay_hub::UserQuestions {
  public:
    int ask_overwrite(const std::string&) override { return REQUEST_ALL; }
    void show_error(const std::string& primary, const std::string&) override { show_job_error(primary); }
    void show_job_error(const std::string& text) override {
        (void)std::fprintf(stderr, "%s\n", text.c_str());
    }
};

}  // namespace

int main(int argc, char** argv) {
    ReplaceAll questions;
    relay_hub::set_user_questions(&questions);
    const relay_hub::TaskListPtr job(new_task_list());
    if (argc < 3)
        return 2;
    job->items.assign(argv + 1, argv + argc - 1);
    job->folder = argv[argc - 1];
    std::puts("copying");
    (void)std::fflush(stdout);
    Gfile_local_copy(job.get());
    for (const __task_failure& failure : job->failures)
        (void)std::fprintf(stderr, "%s: %s\n", failure.path.c_str(), failure.reason.c_str());
    return job->failures.empty() ? 0 : 1;
}
