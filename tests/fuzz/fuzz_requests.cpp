// Requests to the engine, over a tree that only judges what it is asked for.
#include <cerrno>

#include "engine/request_handlers.h"
#include "fuzz_input.h"
#include "unit/engine/engine_sandbox.h"
#include "xml_doc/zev_xml.h"

namespace {

using namespace relay_hub::engine;
using Path = std::string;
constexpr char kFolder[] = "Desktop";
constexpr char kFile[] = "a\xF0\x9F\x98\x80";

// Holds one folder and one file. Every path that it is asked for must lie below its root.
class JudgingTree : public RemoteFileSystem {
  public:
    explicit JudgingTree(Style style) : style_(style) {}
    void interrupt() override {}
    void set_watch(std::function<bool()>) override {}
    [[nodiscard]] Style style() const override { return style_; }
    Error places(Places& places) override {
        places.drives = {style_ == Style::kDrives ? "C:" : ""};
        places.desktop = kFolder;
        return {};
    }
    Error free_space(const Path& folder, std::uint64_t&) override { return judge(folder); }
    [[nodiscard]] std::size_t most_waiting_files() const override { return 4; }
    void keep_folder_open(bool) override {}
    Error list(const Path& folder, Listing& listing) override {
        if (judge(folder) != 0 || !folder.empty())
            return ENOENT;
        listing.entries.resize(2);
        return stat(kFolder, listing.entries[0]).number + stat(kFile, listing.entries[1]).number;
    }
    Error stat(const Path& path, Entry& entry) override {
        (void)judge(path);
        entry.name = path;
        entry.kind = path == kFile ? EntryKind::kFile : EntryKind::kFolder;
        return path.empty() || path == kFolder || path == kFile ? 0 : ENOENT;
    }
    Error read_link(const Path& path, std::string&) override { return refuse(path); }
    Error folder_chain(const Path& folder, std::vector<FileIdentity>&) override { return judge(folder); }
    void read_ahead(std::span<const FileToRead> files) override {
        for (const FileToRead& file : files)
            (void)judge(file.path);
    }
    Error open_source(const Path& path, const Entry&, std::unique_ptr<FileSource>&) override {
        return refuse(path);
    }
    Error open_sink(const Path& path, const Entry&, bool, std::unique_ptr<FileSink>&) override {
        return refuse(path);
    }
    std::vector<Error> commit(std::vector<std::unique_ptr<FileSink>>& sinks, bool) override {
        return std::vector<Error>(std::exchange(sinks, {}).size(), EIO);
    }
    Error settle(const std::vector<std::string>&) override { return {}; }
    std::string part_name() override { return ".part"; }
    void sweep(const Path& folder) override { (void)judge(folder); }
    Error make_folder(const Path& path, mode_t) override { return refuse(path); }
    Error make_link(const Path& path, const Path&, const Entry&, bool) override { return refuse(path); }
    std::vector<Error> set_attributes(std::span<const FolderAttributes> folders) override {
        return std::vector<Error>(folders.size(), folders.empty() ? 0 : refuse(folders.front().path));
    }
    Error rename(const Path& from, const Path& to) override { return judge(from) + refuse(to); }
    Error remove(const Path& path, EntryKind, std::string& failed) override {
        failed = path;
        return refuse(path);
    }
    Error move_to_trash(const Path& path) override { return refuse(path); }

  private:
    static int judge(const Path& path) {
        check(path.find('\0') == std::string::npos && !path.starts_with('/'), "a path of the tree");
        return 0;
    }
    static int refuse(const Path& path) { return judge(path) + EACCES; }

    Style style_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string request(text_of(data, size));
    const std::atomic<bool> remote_online = true;
    for (const Style style : {Style::kWindows, Style::kPosix, Style::kDrives}) {
        const auto tree = std::make_shared<JudgingTree>(style);
        PresetFrontEnd front_end;
        front_end.answers = {OverwriteAnswer::kReplaceAll};
        const Reply reply = RequestHandlers(tree, tree, front_end, remote_online).handle(request);
        CZEVXML answer;
        check(reply.text.empty() || answer.LoadXML(reply.text), "an answer is one whole document");
        check(reply.text.size() <= kLongestAnswer, "an answer fits into the window's buffer");
    }
    return 0;
}
