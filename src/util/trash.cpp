#include "util/trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "base/glib_owners.h"
#include "base/translated_text.h"
#include "util/file_identity.h"
#include "util/file_op_unit.h"
#include "util/move_command.h"

namespace {

using relay_hub::FileDescriptor;

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

std::string info_text(const std::string& path, const struct stat& status) {
    const relay_hub::GText text(
        g_strdup_printf("%s\n%x\n%x\n%x\n%x\n", path.c_str(), static_cast<unsigned>(std::time(nullptr)),
                        static_cast<unsigned>(status.st_size), static_cast<unsigned>(status.st_mode),
                        static_cast<unsigned>(status.st_mtime)));
    return text.get();
}

// 0 or errno; a half-written file does not stay.
int write_info_file(int folder, const std::string& name, const std::string& text) {
    FileDescriptor file(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0664));
    if (!file)
        return errno;
    int error = relay_hub::write_all(file.get(), text.data(), text.size());
    const int close_error = file.close();
    if (error == 0)
        error = close_error;
    if (error != 0)
        unlinkat(folder, name.c_str(), 0);
    return error;
}

int state_allows(void* job_state) {
    return job_state != nullptr && get_atomic(static_cast<volatile int*>(job_state)) == TASK_CANCEL ? 0 : -1;
}

std::string last_component(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

unsigned announced_seed(unsigned long salt) {
    std::printf("GenTrashName(void *p) - %.08X\n", static_cast<unsigned>(salt));
    return static_cast<unsigned>(std::time(nullptr)) + static_cast<unsigned>(salt);
}

std::string name_of_seed(unsigned seed) {
    std::srand(seed);
    std::string name = ".";
    for (int index = 0; index < kNameLength; ++index)
        name += kAlphabet[static_cast<unsigned>(std::rand()) % kAlphabetSize];
    return name;
}

}  // namespace

void GenTrashName(std::string& out_name, unsigned long salt) {
    const std::string trash = trash_folder();
    unsigned seed = announced_seed(salt);
    while (true) {
        out_name = name_of_seed(seed);
        if (access((trash + out_name).c_str(), F_OK) != 0)
            return;
        nanosleep(&kClashPause, nullptr);
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        seed += static_cast<unsigned>(now.tv_nsec);
    }
}

bool DeleteDirectory(const std::vector<std::string>& paths) {
    relay_hub::Trash trash(nullptr);
    for (const std::string& path : paths) {
        std::string reason;
        const relay_hub::TrashResult result = trash.put(path, &reason);
        if (result == relay_hub::TrashResult::no_info)
            return false;
        if (result == relay_hub::TrashResult::stays)
            relay_hub::report(FILE_OP_HERE, path + ":", reason);
    }
    return true;
}

namespace relay_hub {

bool Trash::open_folder() {
    if (folder_)
        return true;
    const std::string path = trash_folder();
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return false;
    folder_.reset(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return static_cast<bool>(folder_);
}

std::string Trash::make_entry_folder(unsigned long salt) {
    // Making the folder tells whether the name is taken: looking first would be one call more.
    do {
        std::string name = name_of_seed(announced_seed(salt + names_made_++));
        if (mkdirat(folder_.get(), name.c_str(), 0755) == 0)
            return name;
    } while (errno == EEXIST);
    return {};
}

TrashResult Trash::move(const std::string& path, const std::string& entry, std::string* reason) const {
    const std::string inner = entry + "/" + last_component(path);
    if (renameat2(AT_FDCWD, path.c_str(), folder_.get(), inner.c_str(), RENAME_NOREPLACE) == 0)
        return TrashResult::moved;
    const int rename_error = errno;
    const std::string folder = trash_folder() + entry;
    struct stat status {};
    const bool holds_trash = rename_error == EINVAL && lstat(path.c_str(), &status) == 0 &&
                             S_ISDIR(status.st_mode) && lies_within(folder, status);
    // Another file system, or one without the flag.
    const bool can_be_copied = rename_error == EXDEV || rename_error == EINVAL || rename_error == ENOSYS;
    if (holds_trash || !can_be_copied) {
        (void)unlinkat(folder_.get(), entry.c_str(), AT_REMOVEDIR);
        *reason = holds_trash ? translated("IDS_REASON_INTO_ITSELF") : error_text(rename_error);
        return TrashResult::stays;
    }
    const CancelTest cancel{state_allows, const_cast<int*>(job_state_)};
    const MoveEnd end = run_mv(path, folder + "/", cancel, reason);
    // A move that got so far that part of the entry is only in the trash counts as one: what is there stays,
    // and can be found by its info file.
    if (end == MoveEnd::moved || !discard_copy(folder, path))
        return end == MoveEnd::failed ? TrashResult::partly : TrashResult::moved;
    return end == MoveEnd::failed ? TrashResult::stays : TrashResult::cancelled;
}

TrashResult Trash::put(const std::string& path, std::string* reason) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        *reason = error_text(errno);
        return TrashResult::stays;
    }
    std::string entry;
    if (open_folder())
        entry = make_entry_folder(reinterpret_cast<unsigned long>(path.c_str()));
    if (entry.empty()) {
        // It is not the entry that cannot be worked with.
        const int error = errno;
        *reason = trash_folder() + ": " + error_text(error);
        return TrashResult::stays;
    }
    const TrashResult result = move(path, entry, reason);
    if (result == TrashResult::stays || result == TrashResult::cancelled)
        return result;
    const int info_error = write_info_file(folder_.get(), entry + ".info", info_text(path, status));
    if (info_error == 0)
        return result;
    report_error(FILE_OP_HERE, info_error, trash_folder() + entry + ".info");
    errno = info_error;
    return TrashResult::no_info;
}

}  // namespace relay_hub
