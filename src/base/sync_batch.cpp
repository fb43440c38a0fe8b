#include "base/sync_batch.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace relay_hub {
namespace {

constexpr unsigned long kWholeSyncFileSystems[] = {EXT4_SUPER_MAGIC,  BTRFS_SUPER_MAGIC,     XFS_SUPER_MAGIC,
                                                   F2FS_SUPER_MAGIC,  OVERLAYFS_SUPER_MAGIC, TMPFS_MAGIC,
                                                   MSDOS_SUPER_MAGIC, EXFAT_SUPER_MAGIC};

bool syncs_as_a_whole(int fd) {
    struct statfs status {};
    return fstatfs(fd, &status) == 0 &&
           std::find(std::begin(kWholeSyncFileSystems), std::end(kWholeSyncFileSystems),
                     static_cast<unsigned long>(status.f_type)) != std::end(kWholeSyncFileSystems);
}

int sync_folder_at(const std::string& path) {
    const FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A folder that may be written but not read cannot be synced on its own.
    if (!folder)
        return errno == EACCES || errno == ENOENT ? 0 : errno;
    return sync_folder(folder.get());
}

// 0 or errno. Content that did not reach the disk does not stay.
int sync_file(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file)
        return errno;
    if (fsync(file.get()) == 0)
        return 0;
    const int sync_error = errno;
    unlink(path.c_str());
    return sync_error;
}

// After a failed sync of everything, each file still knows of its own failed write.
void blame_files(const std::vector<std::string>& files, const std::string& folder, int error_number,
                 const SyncBatch::FailureSink& failure) {
    bool blamed = false;
    for (const std::string& file : files) {
        const int error = sync_file(file);
        if (error == 0 || error == ENOENT)
            continue;
        blamed = true;
        failure(file, error);
    }
    if (!blamed)
        failure(folder, error_number);
}

}  // namespace

int sync_folder(int folder) {
    return fsync(folder) == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
}

bool WholeSyncs::cover(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0)
        return false;
    const auto [flushed, is_new] = flushed_.try_emplace(status.st_dev, false);
    if (is_new)
        flushed->second = syncs_as_a_whole(fd) && syncfs(fd) == 0;
    return flushed->second;
}

SyncTime SyncBatch::time_for(const std::string& path) {
    return entries_ >= kFewEntries && volume_of(path).whole ? SyncTime::later : SyncTime::now;
}

void SyncBatch::add(const std::string& path) {
    ++entries_;
    (void)volume_of(path);
}

void SyncBatch::add_unsynced(const std::string& path, std::uint64_t bytes) {
    ++entries_;
    volume_of(path).files.push_back(path);
    unsynced_bytes_ += bytes;
}

SyncBatch::Volume& SyncBatch::volume_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    if (last_volume_ != nullptr && folder == last_folder_)
        return *last_volume_;
    struct stat status {};
    // What lies in a folder that cannot be looked at any more is synced, or reported, file by file.
    (void)stat(folder.c_str(), &status);
    Volume& volume = volumes_[status.st_dev];
    if (!volume.folder) {
        volume.folder.reset(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        volume.whole = volume.folder && syncs_as_a_whole(volume.folder.get());
    }
    volume.folders.insert(folder);
    last_folder_ = folder;
    last_volume_ = &volume;
    return volume;
}

void SyncBatch::flush(const FailureSink& failure) {
    for (auto& [device, volume] : volumes_)
        flush_volume(volume, failure);
    volumes_.clear();
    last_volume_ = nullptr;
    unsynced_bytes_ = 0;
}

void SyncBatch::flush_volume(Volume& volume, const FailureSink& failure) {
    if (volume.whole && (!volume.files.empty() || volume.folders.size() > kFewEntries)) {
        if (syncfs(volume.folder.get()) != 0)
            blame_files(volume.files, *volume.folders.begin(), errno, failure);
        return;
    }
    for (const std::string& file : volume.files) {
        if (const int error = sync_file(file); error != 0)
            failure(file, error);
    }
    for (const std::string& folder : volume.folders) {
        if (const int error = sync_folder_at(folder); error != 0)
            failure(folder, error);
    }
}

}  // namespace relay_hub
