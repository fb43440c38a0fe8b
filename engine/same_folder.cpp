#include "engine/same_folder.h"

#include <cerrno>

#include "base/diagnostics.h"
#include "base/plain_text.h"

namespace relay_hub::engine {
namespace {

class NoContent : public FileSource {
  public:
    Error read(char* /*buffer*/, std::size_t /*size*/, std::size_t& got) override {
        got = 0;
        return {};
    }
    [[nodiscard]] int descriptor() const override { return -1; }
};

Error make_empty_file(RemoteFileSystem& files, const std::string& path) {
    Entry entry;
    entry.mode = S_IRUSR | S_IWUSR;
    entry.has_times = false;
    std::vector<std::unique_ptr<FileSink>> sinks(1);
    Error error = files.open_sink(path, entry, false, sinks.front());
    if (!error)
        error = sinks.front()->finish(NoContent());
    if (!error)
        error = files.commit(sinks, true).front();
    return error.attributes_only ? Error() : error;
}

}  // namespace

Error find_whether_same(const FolderOfTree& made, const FolderOfTree& seen, bool& same) {
    const std::string name = made.files.part_name();
    const std::string path = join_path(made.path, name);
    Error error = make_empty_file(made.files, path);
    if (!error) {
        Entry entry;
        const Error missing = seen.files.stat(join_path(seen.path, name), entry);
        same = !missing;
        // What somebody else's sweep took would be missing in either folder.
        error = missing.number == ENOENT ? made.files.stat(path, entry) : missing;
    }
    // It may be there after a failure, too.
    std::string failed;
    if (const Error left = made.files.remove(path, EntryKind::kFile, failed); left && left.number != ENOENT)
        report(RELAY_HUB_HERE, "left over:", in_one_line(path + ": " + error_text(left.number)));
    return error;
}

}  // namespace relay_hub::engine
