#include "engine/folder/folder_file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include "base/fifo.h"
#include "base/file_attributes.h"
#include "base/folder_handle.h"
#include "base/remove_tree.h"
#include "base/rename_without_replacing.h"
#include "base/sync_batch.h"
#include "base/temporary_file.h"
#include "engine/folder/folder_sink.h"
#include "engine/folder/folder_trash.h"
#include "engine/names.h"

namespace relay_hub::engine {
namespace {

// From this many files on, one flush of the file system beats a flush of each.
constexpr std::size_t kFewFiles = 8;
constexpr std::size_t kFewFolders = 16;
constexpr long kMostWaitingFiles = 400;
constexpr std::chrono::milliseconds kWatchStep{100};
constexpr char kDesktop[] = "Desktop";
constexpr char kDocuments[] = "Documents";
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK;

timespec to_timespec(const statx_timestamp& time) {
    return {time.tv_sec, static_cast<long>(time.tv_nsec)};
}

EntryKind kind_of(mode_t mode) {
    if (S_ISREG(mode))
        return EntryKind::kFile;
    if (S_ISDIR(mode))
        return EntryKind::kFolder;
    return S_ISLNK(mode) ? EntryKind::kLink : EntryKind::kSpecial;
}

int read_entry(int folder, const char* name, int flags, Entry& entry) {
    struct statx status {};
    if (statx(folder, name, flags | AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
        return errno;
    entry.name = name;
    entry.kind = kind_of(status.stx_mode);
    entry.opens_as_folder = entry.kind == EntryKind::kFolder;
    entry.size = status.stx_size;
    entry.mode = status.stx_mode & ALLPERMS;
    entry.owner = {status.stx_uid, status.stx_gid};
    entry.created = to_timespec((status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_ctime);
    entry.accessed = to_timespec(status.stx_atime);
    entry.modified = to_timespec(status.stx_mtime);
    entry.identity = {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
    return 0;
}

// Has act do its work with the open folder that holds path and the name in it. 0, or errno of either.
template <typename Act>
int in_parent(const TreeRoot& tree, const std::string& path, const Act& act) {
    SharedFolder parent;
    std::string name;
    const int error = tree.open_parent(path, parent, name);
    return error != 0 ? error : act(parent->get(), name.c_str());
}

class FolderSource : public FileSource {
  public:
    explicit FolderSource(FileDescriptor file) : file_(std::move(file)) {}
    Error read(char* buffer, std::size_t size, std::size_t& got) override {
        const ssize_t count = read_some(file_.get(), buffer, size);
        got = count < 0 ? 0 : static_cast<std::size_t>(count);
        return count < 0 ? errno : 0;
    }
    [[nodiscard]] int descriptor() const override { return file_.get(); }

  private:
    FileDescriptor file_;
};

}  // namespace

std::unique_ptr<FolderFileSystem> FolderFileSystem::open(const std::string& folder, Reach reach,
                                                         Style style) {
    FileDescriptor root(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root)
        return nullptr;
    return std::make_unique<FolderFileSystem>(TreeRoot(std::move(root), reach), style);
}

bool FolderFileSystem::leads_to_folder(const std::string& path) const {
    FileDescriptor folder;
    return tree_.open(path, O_PATH | O_DIRECTORY, folder) == 0;
}

bool FolderFileSystem::stopped() {
    const auto now = std::chrono::steady_clock::now();
    if (goes_on_ && now - last_asked_ >= kWatchStep) {
        last_asked_ = now;
        if (!goes_on_())
            return true;
    }
    return interrupted_;
}

Error FolderFileSystem::places(Places& places) {
    places.drives = {""};
    const std::pair<const char*, std::optional<std::string>*> named[] = {{kDesktop, &places.desktop},
                                                                         {kDocuments, &places.documents}};
    for (const auto& [name, place] : named) {
        Entry entry;
        if (!stat(name, entry) && entry.kind == EntryKind::kFolder)
            *place = name;
    }
    return {};
}

Error FolderFileSystem::free_space(const std::string& folder, std::uint64_t& bytes) {
    FileDescriptor opened;
    if (const int error = tree_.open(folder, O_PATH | O_DIRECTORY, opened); error != 0)
        return error;
    struct statvfs space {};
    if (fstatvfs(opened.get(), &space) != 0)
        return errno;
    bytes = std::uint64_t{space.f_bavail} * space.f_frsize;
    return {};
}

// Each of them keeps a descriptor open, and other work needs some as well.
std::size_t FolderFileSystem::most_waiting_files() const {
    return static_cast<std::size_t>(std::clamp(sysconf(_SC_OPEN_MAX) / 2, 1L, kMostWaitingFiles));
}

int FolderFileSystem::look_at(int opened, const std::string& folder, const std::string& name,
                              Entry& entry) const {
    if (const int error = read_entry(opened, name.c_str(), 0, entry); error != 0)
        return error;
    if (entry.kind == EntryKind::kLink)
        entry.opens_as_folder = leads_to_folder(join_path(folder, name));
    return 0;
}

Error FolderFileSystem::list(const std::string& folder, Listing& listing) {
    SharedFolder opened;
    if (const int error = tree_.open_folder(folder, opened); error != 0)
        return error;
    std::vector<std::string> names;
    if (const int error = read_names(opened->get(), names); error != 0)
        return error;
    listing.group_rights = mode_without_list(opened->get(), S_IRWXG);
    listing.entries.reserve(names.size());
    for (std::string& name : names) {
        // A file that is just being written is not there yet.
        if (is_temporary_name(name))
            continue;
        if (stopped())
            return ECANCELED;
        Entry entry;
        const int error = look_at(opened->get(), folder, name, entry);
        // What vanished since the names were read is not there to be listed.
        if (error != 0 && error != ENOENT)
            listing.failed.push_back({std::move(name), error});
        else if (error == 0)
            listing.entries.push_back(std::move(entry));
    }
    return {};
}

Error FolderFileSystem::stat(const std::string& path, Entry& entry) {
    if (path.empty()) {
        FileDescriptor root;
        if (const int error = tree_.open(path, O_PATH | O_DIRECTORY, root); error != 0)
            return error;
        return read_entry(root.get(), "", AT_EMPTY_PATH, entry);
    }
    return in_parent(tree_, path,
                     [&entry](int parent, const char* name) { return read_entry(parent, name, 0, entry); });
}

Error FolderFileSystem::read_link(const std::string& path, std::string& target) {
    return in_parent(tree_, path, [&target](int parent, const char* name) {
        std::array<char, PATH_MAX> buffer{};
        const ssize_t length = readlinkat(parent, name, buffer.data(), buffer.size());
        if (length < 0)
            return errno;
        target.assign(buffer.data(), static_cast<std::size_t>(length));
        return 0;
    });
}

Error FolderFileSystem::folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) {
    FileDescriptor current;
    if (const int error = tree_.open(folder, O_PATH | O_DIRECTORY, current); error != 0)
        return error;
    while (true) {
        Entry entry;
        if (const int error = read_entry(current.get(), "", AT_EMPTY_PATH, entry); error != 0)
            return error;
        if (!chain.empty() && chain.back() == entry.identity)
            return 0;
        chain.push_back(entry.identity);
        current.reset(openat(current.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!current)
            return errno;
    }
}

Error FolderFileSystem::open_source(const std::string& path, const Entry& /*entry*/,
                                    std::unique_ptr<FileSource>& source) {
    return in_parent(tree_, path, [&source](int parent, const char* name) {
        FileDescriptor file(openat(parent, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat status {};
        if (!file || fstat(file.get(), &status) != 0)
            return errno;
        if (!S_ISREG(status.st_mode))
            return EINVAL;
        source = std::make_unique<FolderSource>(std::move(file));
        return 0;
    });
}

Error FolderFileSystem::open_sink(const std::string& path, const Entry& entry, bool replace,
                                  std::unique_ptr<FileSink>& sink) {
    SharedFolder parent;
    std::string name;
    if (const int error = tree_.open_parent(path, parent, name); error != 0)
        return error;
    auto opened = std::make_unique<FolderSink>(std::move(parent), name, entry, replace);
    if (const int error = opened->create(); error != 0)
        return error;
    sink = std::move(opened);
    return 0;
}

std::vector<Error> FolderFileSystem::commit(std::vector<std::unique_ptr<FileSink>>& sinks, bool /*all*/) {
    std::vector<Error> results;
    std::vector<FolderSink*> own;
    own.reserve(sinks.size());
    results.reserve(sinks.size());
    for (const auto& sink : sinks)
        own.push_back(static_cast<FolderSink*>(sink.get()));
    const bool many = own.size() > kFewFiles;
    WholeSyncs flushed;
    for (FolderSink* sink : own) {
        int error = interrupted_ ? ECANCELED : 0;
        if (error == 0 && !(many && flushed.cover(sink->descriptor())))
            error = sink->sync();
        results.push_back(error != 0 ? error : sink->publish());
    }
    sinks.clear();
    return results;
}

Error FolderFileSystem::settle(const std::vector<std::string>& folders) {
    Error result;
    const bool many = folders.size() > kFewFolders;
    WholeSyncs flushed;
    for (const std::string& path : folders) {
        FileDescriptor folder;
        int error = tree_.open(path, kFolderFlags, folder);
        if (error == 0 && !(many && flushed.cover(folder.get())))
            error = sync_folder(folder.get());
        if (error != 0)
            result = error;
    }
    return result;
}

std::string FolderFileSystem::part_name() {
    return temporary_name();
}

void FolderFileSystem::sweep(const std::string& folder) {
    FileDescriptor opened;
    if (tree_.open(folder, kFolderFlags, opened) == 0)
        sweep_temporary_files(opened.get());
}

Error FolderFileSystem::make_folder(const std::string& path, mode_t mode) {
    return in_parent(tree_, path, [mode](int parent, const char* name) {
        return mkdirat(parent, name, mode) == 0 ? 0 : errno;
    });
}

Error FolderFileSystem::make_link(const std::string& path, const std::string& target, const Entry& entry,
                                  bool replace) {
    const std::array<timespec, 2> times{entry.accessed, entry.modified};
    return in_parent(tree_, path, [&](int parent, const char* name) {
        return place_link(parent, name, target, replace, times.data());
    });
}

std::vector<Error> FolderFileSystem::set_attributes(std::span<const FolderAttributes> folders) {
    std::vector<Error> results;
    for (const auto& [path, entry] : folders) {
        FileDescriptor opened;
        const int error = tree_.open(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW, opened);
        results.push_back(error != 0 ? error : apply_attributes(opened.get(), entry));
    }
    return results;
}

Error FolderFileSystem::rename(const std::string& from, const std::string& to) {
    SharedFolder from_parent;
    SharedFolder to_parent;
    std::string from_name;
    std::string to_name;
    if (const int error = tree_.open_parent(from, from_parent, from_name); error != 0)
        return error;
    if (const int error = tree_.open_parent(to, to_parent, to_name); error != 0)
        return error;
    return rename_without_replacing(from_parent->get(), from_name, to_parent->get(), to_name);
}

Error FolderFileSystem::remove(const std::string& path, EntryKind kind, std::string& failed) {
    SharedFolder parent;
    std::string name;
    failed = path;
    if (const int error = tree_.open_parent(path, parent, name); error != 0)
        return error;
    Entry entry;
    if (const int error = read_entry(parent->get(), name.c_str(), 0, entry); error != 0)
        return error;
    if (entry.kind == EntryKind::kFolder && kind != EntryKind::kFolder)
        return EISDIR;
    // A link to a folder is listed as one, but it is the link that goes.
    if (kind == EntryKind::kFolder && entry.kind != EntryKind::kFolder && entry.kind != EntryKind::kLink)
        return ENOTDIR;
    const int error = remove_tree(parent->get(), name, FolderRights::keep, &failed);
    failed = join_path(parent_path(path), failed);
    return error;
}

Error FolderFileSystem::move_to_trash(const std::string& path) {
    FileDescriptor root;
    if (const int error = tree_.open("", O_PATH | O_DIRECTORY, root); error != 0)
        return error;
    return in_parent(tree_, path,
                     [&](int parent, const char*) { return trash_item(root.get(), parent, path); });
}

}  // namespace relay_hub::engine
