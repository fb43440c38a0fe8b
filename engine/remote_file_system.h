#pragma once
// What stands behind the protocol: one tree of files. The engine's requests and copies know only this
// interface, so that another kind of remote computer is another implementation of it. Paths are inner paths
// (names.h). Every operation may be called on one thread at a time and returns 0 or an errno value; EXDEV
// says that the path leads out of the tree.
#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace relay_hub::engine {

enum class EntryKind { kFile, kFolder, kLink, kSpecial };

// Tells whether two paths are one file; all zero when the tree cannot tell.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity& other) const {
        return inode != 0 && device == other.device && inode == other.inode;
    }
};

struct Entry {
    std::string name;
    EntryKind kind = EntryKind::kFile;
    bool opens_as_folder = false;  // a folder, or a link to one inside the tree; told by list() alone
    std::uint64_t size = 0;
    mode_t mode = 0;
    timespec created{};
    timespec accessed{};
    timespec modified{};
    FileIdentity identity;
};

class FileSource {
  public:
    FileSource() = default;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    virtual ~FileSource() = default;
    // got is 0 at the end.
    virtual int read(char* buffer, std::size_t size, std::size_t& got) = 0;
    // A descriptor that the kernel can copy from, or -1. Borrowed.
    [[nodiscard]] virtual int descriptor() const = 0;
};

// A file being written, without its final name until commit(). Dropped without commit it leaves nothing.
class FileSink {
  public:
    FileSink() = default;
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;
    virtual ~FileSink() = default;
    virtual int write(const char* data, std::size_t size) = 0;
    [[nodiscard]] virtual int descriptor() const = 0;
    // Starts what is written on its way to the disk, so that the commit of a big file does not take long.
    virtual void start_flush() = 0;
    // Mode and times as in entry, once all is written.
    virtual int set_attributes(const Entry& entry) = 0;
};

class RemoteFileSystem {
  public:
    RemoteFileSystem() = default;
    RemoteFileSystem(const RemoteFileSystem&) = delete;
    RemoteFileSystem& operator=(const RemoteFileSystem&) = delete;
    virtual ~RemoteFileSystem() = default;

    // Between true and false the folder that was used last may be kept open for what follows in it; somebody
    // who moves it meanwhile is followed.
    virtual void keep_folder_open(bool keep) = 0;

    // In no particular order, without "." and "..".
    virtual int list(const std::string& folder, std::vector<Entry>& entries) = 0;
    // A link is told as a link.
    virtual int stat(const std::string& path, Entry& entry) = 0;
    virtual int read_link(const std::string& path, std::string& target) = 0;
    // The folder and every folder above it, innermost first.
    virtual int folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) = 0;

    virtual int open_source(const std::string& path, std::unique_ptr<FileSource>& source) = 0;
    // replace: whether commit may take the place of a file that is there. Without it, one that appeared
    // meanwhile makes commit fail with EEXIST.
    virtual int open_sink(const std::string& path, bool replace, std::unique_ptr<FileSink>& sink) = 0;
    // Puts the content of every sink on the disk and then under its final name. One result per sink.
    virtual std::vector<int> commit(std::vector<std::unique_ptr<FileSink>>& sinks) = 0;
    // Returns when the names that were committed to and made in these folders are on the disk.
    virtual int settle(const std::vector<std::string>& folders) = 0;
    // Removes what dead runs left of their sinks in the folder.
    virtual void sweep(const std::string& folder) = 0;

    // mode is cut by the process mask.
    virtual int make_folder(const std::string& path, mode_t mode) = 0;
    // As open_sink and commit in one, for a link.
    virtual int make_link(const std::string& path, const std::string& target, const Entry& entry,
                          bool replace) = 0;
    virtual int set_attributes(const std::string& path, const Entry& entry) = 0;
    // Never over something that is there: EEXIST.
    virtual int rename(const std::string& from, const std::string& to) = 0;
    // Removes for good; a folder with all it holds. failed names the item that could not be removed.
    virtual int remove(const std::string& path, EntryKind kind, std::string& failed) = 0;
    virtual int move_to_trash(const std::string& path) = 0;
};

}  // namespace relay_hub::engine
