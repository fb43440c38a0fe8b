#include "util/trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "base/file_descriptor.h"
#include "base/glib_owners.h"
#include "util/file_op_unit.h"
#include "util/move_command.h"

namespace {

using relay_hub::error_text;
using relay_hub::FileDescriptor;
using relay_hub::report_error;

constexpr char kAlphabet[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr unsigned kAlphabetSize = sizeof kAlphabet - 1;
constexpr int kNameLength = 8;
constexpr timespec kClashPause{0, 10'000'000};

std::string trash_folder() {
    std::string folder = g_get_home_dir();
    if (folder.empty() || folder.back() != '/')
        folder += '/';
    return folder + "Trash/";
}

// Makes the entry's own folder in the trash. Its path, or nothing with errno set.
std::string make_entry_folder(unsigned long salt) {
    const std::string trash = trash_folder();
    if (mkdir(trash.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return {};
    std::string name;
    do {
        GenTrashName(name, salt);
        if (mkdir((trash + name).c_str(), 0755) == 0)
            return trash + name;
        // Another program may have taken the name since.
    } while (errno == EEXIST);
    return {};
}

std::string info_text(const std::string& path, const struct stat& status) {
    std::string text = path + "\n";
    const unsigned values[] = {static_cast<unsigned>(std::time(nullptr)),
                               static_cast<unsigned>(status.st_size), static_cast<unsigned>(status.st_mode),
                               static_cast<unsigned>(status.st_mtime)};
    for (const unsigned value : values) {
        char line[16];
        std::snprintf(line, sizeof line, "%x\n", value);
        text += line;
    }
    return text;
}

// 0 or errno; a half-written file does not stay.
int write_info_file(const std::string& path, const std::string& text) {
    FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0664));
    if (!file)
        return errno;
    int error = relay_hub::write_all(file.get(), text.data(), text.size());
    const int close_error = file.close();
    if (error == 0)
        error = close_error;
    if (error != 0)
        unlink(path.c_str());
    return error;
}

int state_allows(void* job_state) {
    return job_state != nullptr && get_atomic(static_cast<volatile int*>(job_state)) == TASK_CANCEL ? 0 : -1;
}

class Run {
  public:
    Run(std::vector<__task_failure>* failures, volatile int* job_state)
        : failures_(failures), cancel_{state_allows, const_cast<int*>(job_state)} {}

    [[nodiscard]] bool cancelled() const { return cancel_.cancelled(); }
    // False, with errno set, when the info file could not be made.
    bool trash(const std::string& path);

  private:
    void note(const std::string& path, const std::string& reason);
    // False when the entry stays where it was.
    bool move(const std::string& path, const std::string& folder);

    std::vector<__task_failure>* failures_;
    relay_hub::CancelTest cancel_;
};

void Run::note(const std::string& path, const std::string& reason) {
    relay_hub::report(FILE_OP_HERE, path, ": ", reason);
    if (failures_ != nullptr)
        failures_->push_back({path, reason});
}

bool Run::move(const std::string& path, const std::string& folder) {
    std::string reason;
    const relay_hub::MoveEnd end = relay_hub::run_mv(path, folder + "/", cancel_, &reason);
    if (end == relay_hub::MoveEnd::failed)
        note(path, reason);
    // A move that got so far that part of the entry is only in the trash counts as one: what is there stays,
    // and can be found by its info file.
    return end == relay_hub::MoveEnd::moved || !relay_hub::discard_copy(folder, path);
}

bool Run::trash(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        note(path, error_text(errno));
        return true;
    }
    const std::string text = info_text(path, status);
    const std::string folder = make_entry_folder(reinterpret_cast<unsigned long>(path.c_str()));
    if (folder.empty()) {
        note(path, error_text(errno));
        return true;
    }
    if (!move(path, folder))
        return true;
    const int info_error = write_info_file(folder + ".info", text);
    if (info_error == 0)
        return true;
    report_error(FILE_OP_HERE, info_error, folder + ".info");
    errno = info_error;
    return false;
}

}  // namespace

void GenTrashName(std::string& out_name, unsigned long salt) {
    std::printf("GenTrashName(void *p) - %.08X\n", static_cast<unsigned>(salt));
    const std::string trash = trash_folder();
    unsigned seed = static_cast<unsigned>(std::time(nullptr)) + static_cast<unsigned>(salt);
    while (true) {
        std::srand(seed);
        out_name.assign(1, '.');
        for (int index = 0; index < kNameLength; ++index)
            out_name += kAlphabet[static_cast<unsigned>(std::rand()) % kAlphabetSize];
        if (access((trash + out_name).c_str(), F_OK) != 0)
            return;
        nanosleep(&kClashPause, nullptr);
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        seed += static_cast<unsigned>(now.tv_nsec);
    }
}

bool DeleteDirectory(const std::vector<std::string>& paths, std::vector<__task_failure>* failures,
                     volatile int* job_state) {
    Run run(failures, job_state);
    for (const std::string& path : paths) {
        if (run.cancelled())
            break;
        if (!run.trash(path))
            return false;
    }
    return true;
}
