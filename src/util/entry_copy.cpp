#include "util/entry_copy.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "base/file_attributes.h"
#include "base/file_descriptor.h"
#include "base/temporary_file.h"
#include "base/translated_text.h"
#include "util/Zev_file_op.h"
#include "util/byte_copy.h"
#include "util/file_identity.h"
#include "util/file_op_unit.h"
#include "util/job_failures.h"

namespace relay_hub {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// The record of a folder just made. 0 or errno.
int look_at_folder(const std::string& dst, struct stat* target) {
    if (lstat(dst.c_str(), target) != 0)
        return errno;
    return S_ISDIR(target->st_mode) ? 0 : ENOTDIR;
}

// A folder and a name in it, so that the new entry and its temporary name stay in one folder.
struct Place {
    FileDescriptor folder;
    std::string name;
};

// folder is empty, with errno set, when it cannot be entered.
Place place_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    return {FileDescriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
            slash == std::string::npos ? path : path.substr(slash + 1)};
}

// A file takes the place of an empty folder, too.
int put_in_place(TemporaryFile& part, const Place& place) {
    const int error = part.replace(place.name);
    if (error == EISDIR && unlinkat(place.folder.get(), place.name.c_str(), AT_REMOVEDIR) == 0)
        return part.replace(place.name);
    return error;
}

// Copies src with its attributes over the existing entry dst, through a temporary file beside it that is on
// the disk before it takes dst's name. Unless the outcome is complete, dst is as it was.
CopyOutcome replace_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                         const CopyWatch& watch) {
    const FileDescriptor source = open_source(src);
    struct stat record {};
    if (!source || fstat(source.get(), &record) != 0)
        return {.error_number = errno};
    const Place place = place_of(dst);
    if (!place.folder)
        return {.error_number = errno};
    TemporaryFile part = TemporaryFile::create(place.folder.get());
    if (!part.valid())
        return {.error_number = errno};
    // Synced once it has its attributes.
    CopyOutcome outcome = copy_content(source.get(), part.fd(), cancel, watch);
    if (!outcome.complete())
        return outcome;
    outcome.error_number = copy_attributes(source.get(), record, part.fd(), TargetAge::fresh);
    if (outcome.error_number == 0)
        outcome.error_number = fsync(part.fd()) == 0 ? part.flush() : errno;
    outcome.synced = true;
    if (outcome.error_number == 0)
        outcome.error_number = put_in_place(part, place);
    return outcome;
}

// Makes a link with the given text, and the times of record, at dst: in the place of what stands there, or
// only where nothing does (EEXIST). 0, or errno with dst as it was.
int put_link(const std::string& link_text, const struct stat& record, const std::string& dst, bool replace) {
    const Place place = place_of(dst);
    const timespec times[] = {record.st_atim, record.st_mtim};
    return place.folder ? place_link(place.folder.get(), place.name, link_text, replace, times) : errno;
}

}  // namespace

void EntryCopy::copy_file(const std::string& src, const std::string& dst, bool replace) {
    const CancelTest cancel{check_cancel, job_};
    const CopyWatch watch = [this](std::uint64_t position) { job_->counters.move_to(position); };
    if (replace)
        std::printf("OVERRIDE_YES: remove %s\n", dst.c_str());
    std::printf("copy [%s] file to [%s]\n", src.c_str(), dst.c_str());
    const CopyOutcome outcome = replace
                                    ? replace_file(src, dst, cancel, watch)
                                    : copy_new_file(src, dst, cancel, {batch_.time_for(dst), true}, watch);
    const CallSite site{kFileOpUnit, "Gfile_copy_file", 710};
    if (outcome.error_number == ESTALE)
        note_failure(job_, site, dst, translated("IDS_REASON_CHANGED_IN_COPY"), {src, dst});
    else if (outcome.error_number != 0)
        note_failure(job_, site, dst, outcome.error_number, {src, dst});
    if (outcome.error_number != 0)
        return;
    if (outcome.synced)
        batch_.add(dst);
    else if (!outcome.cancelled)
        batch_.add_unsynced(dst, outcome.bytes);
    if (batch_.is_full())
        put_on_disk();
}

void EntryCopy::copy_link(const std::string& src, const struct stat& record, const std::string& dst,
                          bool replace, bool to_folder) {
    if (replace)
        std::printf("OVERRIDE_YES: unlink %s\n", dst.c_str());
    std::printf("copy [%s] symbolic link %sto [%s]\n", src.c_str(), to_folder ? "directory " : "",
                dst.c_str());
    std::error_code failed;
    const std::string text = std::filesystem::read_symlink(src, failed).native();
    int error = failed.value();
    if (error == 0)
        error = put_link(text, record, dst, replace);
    if (error != 0)
        note_failure(job_, FILE_OP_HERE, dst, error, {src, dst});
    else
        batch_.add(dst);
}

bool EntryCopy::make_folder(const std::string& src, const struct stat& record, const std::string& dst) {
    std::printf("makdir [%s] directory to [%s]\n", src.c_str(), dst.c_str());
    WaitingFolder folder{src, dst, record, {}, false};
    if (mkdir(dst.c_str(), (record.st_mode & ACCESSPERMS) | S_IRWXU) != 0) {
        const int mkdir_error = errno;
        std::perror("create directory fail!");
        note_failure(job_, FILE_OP_HERE, dst, mkdir_error, {src, dst});
        return false;
    }
    if (const int error = look_at_folder(dst, &folder.target); error != 0) {
        note_failure(job_, FILE_OP_HERE, dst, error, {src, dst});
        return false;
    }
    target_folders_.emplace(folder.target.st_dev, folder.target.st_ino);
    waiting_folders_.push_back(std::move(folder));
    batch_.add(dst);
    return true;
}

bool EntryCopy::merge_folder(const std::string& src, const struct stat& record, const std::string& dst,
                             const struct stat& root) {
    WaitingFolder folder{src, dst, record, {}, true};
    const FileDescriptor target(open(dst.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!target || fstat(target.get(), &folder.target) != 0) {
        // Also for a link that leads nowhere: nothing can be made in it.
        note_failure(job_, FILE_OP_HERE, dst, ENOTDIR, {src, dst});
        return false;
    }
    // An existing destination can be a link that leads back into what is being copied.
    if (lies_within(dst, root)) {
        note_failure(job_, FILE_OP_HERE, dst, translated("IDS_REASON_INTO_ITSELF"));
        return false;
    }
    std::printf("OVERRIDE_YES: change attribute [%s] to [%s]\n", src.c_str(), dst.c_str());
    const FileDescriptor opened(open(dst.c_str(), kFolderFlags));
    struct stat now {};
    if (opened && fstat(opened.get(), &now) == 0 && is_same_entry(now, folder.target)) {
        // So that its content can be written; the rest of the attributes comes after it.
        (void)fchmod(opened.get(), (now.st_mode & ALLPERMS) | S_IRWXU);
        sweep_temporary_files(opened.get());
    }
    target_folders_.emplace(folder.target.st_dev, folder.target.st_ino);
    waiting_folders_.push_back(std::move(folder));
    return true;
}

void EntryCopy::finish_folder(const WaitingFolder& folder) {
    const FileDescriptor source(open(folder.src.c_str(), kFolderFlags | O_NOFOLLOW));
    const FileDescriptor target(
        open(folder.dst.c_str(), folder.existed ? kFolderFlags : kFolderFlags | O_NOFOLLOW));
    struct stat now {};
    if (!target || fstat(target.get(), &now) != 0) {
        note_failure(job_, FILE_OP_HERE, folder.dst, errno);
        return;
    }
    // Another entry was put in its place meanwhile, and keeps its attributes.
    if (!is_same_entry(now, folder.target)) {
        note_failure(job_, FILE_OP_HERE, folder.dst, ESTALE);
        return;
    }
    struct stat record = folder.record;
    // The others have been through the process mask already.
    if (!folder.existed)
        record.st_mode &= folder.target.st_mode | ~mode_t{S_IRWXG | S_IRWXO};
    const TargetAge age = folder.existed ? TargetAge::existing : TargetAge::fresh;
    if (const int error = copy_attributes(source.get(), record, target.get(), age); error != 0)
        note_failure(job_, FILE_OP_HERE, folder.dst, error);
}

// Deepest first: a folder that loses its search permission hides what is below it.
void EntryCopy::finish_folders() {
    for (auto folder = waiting_folders_.rbegin(); folder != waiting_folders_.rend(); ++folder)
        finish_folder(*folder);
    waiting_folders_.clear();
}

void EntryCopy::put_on_disk() {
    const CallSite site = FILE_OP_HERE;
    batch_.flush([this, &site](const std::string& path, int error_number) {
        note_failure(job_, site, path, error_number);
    });
}

bool EntryCopy::fills(const struct stat& folder) const {
    return target_folders_.contains({folder.st_dev, folder.st_ino});
}

void sweep_folder(const std::string& folder) {
    if (const FileDescriptor opened{open(folder.c_str(), kFolderFlags)})
        sweep_temporary_files(opened.get());
}

}  // namespace relay_hub
