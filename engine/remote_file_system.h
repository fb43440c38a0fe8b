#pragma once
// What stands behind the protocol: one tree of files. The engine's requests and copies know only this
// interface, so that another kind of remote computer is another implementation of it. Paths are inner paths
// (names.h). Every operation but interrupt() belongs to one thread at a time.
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/file_attributes.h"
#include "base/non_copyable.h"
#include "engine/names.h"

namespace relay_hub::engine {

// What an operation returns. EXDEV says that a path leads out of the tree, ECANCELED that the work was
// interrupted, ESTALE that a file was changed while it was read.
struct Error {
    Error() = default;
    // Implicit, so that errno can be returned as it is.
    Error(int error_number) : number(error_number) {}  // NOLINT(google-explicit-constructor)
    Error(int error_number, std::string reason) : number(error_number), text(std::move(reason)) {}
    explicit operator bool() const { return number != 0; }
    bool operator==(const Error&) const = default;

    int number = 0;    // an errno value, 0 for success
    std::string text;  // in the user's language, without a full stop; empty: the number says it all
    bool attributes_only = false;  // the content is there; mode or times were refused
};

enum class EntryKind { kFile, kFolder, kLink, kSpecial };

// Tells whether two paths are one file; all zero when the tree cannot tell.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    [[nodiscard]] bool known() const { return inode != 0; }
    bool operator==(const FileIdentity& other) const {
        return known() && device == other.device && inode == other.inode;
    }
};

struct Entry {
    std::string name;
    EntryKind kind = EntryKind::kFile;
    bool opens_as_folder = false;  // a folder, or a link to one inside the tree; set by list() alone
    bool has_mode = true;          // else mode is a guess that is not worth applying
    bool has_times = true;         // else they are zero
    mode_t mode = 0;
    std::uint64_t size = 0;
    timespec created{};
    timespec accessed{};
    timespec modified{};  // whole seconds where the tree holds no more
    FileIdentity identity;
    std::optional<FileOwner> owner;  // only of this machine's users
};

// An entry that is there but could not be looked at, or one whose name the tree refuses.
struct FailedLook {
    std::string name;
    Error error;
};

struct Listing {
    std::vector<Entry> entries;  // in no particular order, without "." and ".."
    std::vector<FailedLook> failed;
    mode_t group_rights =
        S_IRWXG;  // what the listed folder gives to its group at most, whatever its mode says
};

// Where a person begins to look.
struct Places {
    std::vector<std::string> drives;
    std::optional<std::string> home;
    std::optional<std::string> desktop;
    std::optional<std::string> documents;
};

class FileSource : NonCopyable {
  public:
    virtual ~FileSource() = default;
    // got is 0 at the end. ESTALE there for a file that was changed while it was read, as far as the tree
    // knows.
    virtual Error read(char* buffer, std::size_t size, std::size_t& got) = 0;
    // A descriptor that the kernel can copy from, or -1. Borrowed.
    [[nodiscard]] virtual int descriptor() const = 0;
};

// A file being written. It gets its final name between finish() and the end of commit(). Dropped before
// finish() it leaves nothing. A small one may be kept in memory until then.
class FileSink : NonCopyable {
  public:
    virtual ~FileSink() = default;
    // An earlier write's failure may be returned by a later one, or by commit.
    virtual Error write(const char* data, std::size_t size) = 0;
    [[nodiscard]] virtual int descriptor() const = 0;
    // Starts what is written on its way to the disk, so that the commit of a big file does not take long.
    virtual void start_flush() = 0;
    // Mode and times of the entry that the sink was opened with, and what else source holds beside its
    // content. Called once, after the last write.
    virtual Error finish(const FileSource& source) = 0;
};

struct FileToRead {
    std::string path;
    Entry entry;
};

struct FolderAttributes {
    std::string path;
    Entry entry;
};

class RemoteFileSystem : NonCopyable {
  public:
    virtual ~RemoteFileSystem() = default;

    // Any thread: whatever waits in the tree ends at once with ECANCELED, and so does every later call.
    virtual void interrupt() = 0;
    // Called on the thread of an operation at least every 100 ms while that waits for somebody else; false
    // from it ends the operation with ECANCELED. It must not call the tree. Null for none.
    virtual void set_watch(std::function<bool()> goes_on) = 0;

    // How its paths are written on the wire.
    [[nodiscard]] virtual Style style() const = 0;
    virtual Error places(Places& places) = 0;
    // What the user may still write there.
    virtual Error free_space(const std::string& folder, std::uint64_t& bytes) = 0;
    // How many sources and sinks may be open at once.
    [[nodiscard]] virtual std::size_t most_waiting_files() const = 0;
    // Between true and false the folder that was used last may be kept open for what follows in it; somebody
    // who moves it meanwhile is followed.
    virtual void keep_folder_open(bool keep) = 0;

    virtual Error list(const std::string& folder, Listing& listing) = 0;
    // A link is returned as a link.
    virtual Error stat(const std::string& path, Entry& entry) = 0;
    virtual Error read_link(const std::string& path, std::string& target) = 0;
    // The folder and every folder above it, innermost first. Empty where folders have no identity.
    virtual Error folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) = 0;

    // The files that open_source() will be called for next, in this order and after those announced before:
    // small ones can be fetched ahead. One that is passed over will not be opened any more; an empty span
    // says so of all.
    virtual void read_ahead(std::span<const FileToRead> files) = 0;
    // entry as list() or stat() gave it.
    virtual Error open_source(const std::string& path, const Entry& entry,
                              std::unique_ptr<FileSource>& source) = 0;
    // For a copy of entry. replace: whether commit may take the place of a file that is there. Without it,
    // one that appeared meanwhile makes commit fail with EEXIST.
    virtual Error open_sink(const std::string& path, const Entry& entry, bool replace,
                            std::unique_ptr<FileSink>& sink) = 0;
    // Puts the content of the sinks on the disk and then under their final names, and returns one result for
    // each that leaves the list, from the first one on; attributes_only for one that has its name. Without
    // all a tree may leave some of the last ones.
    virtual std::vector<Error> commit(std::vector<std::unique_ptr<FileSink>>& sinks, bool all) = 0;
    // Returns when the names that were committed to and made in these folders are on the disk.
    virtual Error settle(const std::vector<std::string>& folders) = 0;
    // A name for a file that is needed for a moment: sweep() removes it once it is left over.
    [[nodiscard]] virtual std::string part_name() = 0;
    // Removes what dead runs left of their sinks in the folder.
    virtual void sweep(const std::string& folder) = 0;

    // mode is cut by the process mask.
    virtual Error make_folder(const std::string& path, mode_t mode) = 0;
    // As open_sink and commit in one, for a link.
    virtual Error make_link(const std::string& path, const std::string& target, const Entry& entry,
                            bool replace) = 0;
    // Modes and times of folders, one after the other; a result for each.
    virtual std::vector<Error> set_attributes(std::span<const FolderAttributes> folders) = 0;
    // Never over something that is there: EEXIST.
    virtual Error rename(const std::string& from, const std::string& to) = 0;
    // Removes for good; a folder with all it holds. failed names the item that could not be removed.
    virtual Error remove(const std::string& path, EntryKind kind, std::string& failed) = 0;
    virtual Error move_to_trash(const std::string& path) = 0;
};

}  // namespace relay_hub::engine
