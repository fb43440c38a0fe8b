// Requests to the engine, over a tree that only judges what it is asked for.
#include <cerrno>

#include "engine/request_handlers.h"
#include "fuzz_input.h"
#include "xml_doc/zev_xml.h"

namespace {

using namespace relay_hub::engine;
using Path = std::string;
constexpr char kFile[] = "a\xF0\x9F\x98\x80";

// Holds one folder and one file. Every path that it is asked for must lie below its root.
class JudgingTree : public RemoteFileSystem {
  public:
    void keep_folder_open(bool) override {}
    int list(const Path& folder, std::vector<Entry>& entries) override {
        if (judge(folder) != 0 || !folder.empty())
            return ENOENT;
        entries.resize(2);
        return stat("Desktop", entries[0]) + stat(kFile, entries[1]);
    }
    int stat(const Path& path, Entry& entry) override {
        (void)judge(path);
        entry.name = path;
        entry.kind = path == kFile ? EntryKind::kFile : EntryKind::kFolder;
        return path.empty() || path == "Desktop" || path == kFile ? 0 : ENOENT;
    }
    int read_link(const Path& path, std::string&) override { return refuse(path); }
    int folder_chain(const Path& folder, std::vector<FileIdentity>&) override { return judge(folder); }
    int open_source(const Path& path, std::unique_ptr<FileSource>&) override { return refuse(path); }
    int open_sink(const Path& path, bool, std::unique_ptr<FileSink>&) override { return refuse(path); }
    std::vector<int> commit(std::vector<std::unique_ptr<FileSink>>& sinks) override {
        return std::vector<int>(sinks.size(), EIO);
    }
    int settle(const std::vector<std::string>&) override { return 0; }
    void sweep(const Path& folder) override { (void)judge(folder); }
    int make_folder(const Path& path, mode_t) override { return refuse(path); }
    int make_link(const Path& path, const Path&, const Entry&, bool) override { return refuse(path); }
    int set_attributes(const Path& path, const Entry&) override { return refuse(path); }
    int rename(const Path& from, const Path& to) override { return judge(from) + refuse(to); }
    int remove(const Path& path, EntryKind, std::string& failed) override {
        failed = path;
        return refuse(path);
    }
    int move_to_trash(const Path& path) override { return refuse(path); }

  private:
    static int judge(const Path& path) {
        fuzz::check(path.find('\0') == std::string::npos && !path.starts_with('/'), "a path of the tree");
        return 0;
    }
    static int refuse(const Path& path) { return judge(path) + EACCES; }
};

class SilentFrontEnd : public FrontEnd {
  public:
    Answer confirm(const Path&) override { return Answer::kReplaceAll; }
    bool cancelled() override { return false; }
    void progress(const Progress&) override {}
    void message(const Path&) override {}
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string request(fuzz::text_of(data, size));
    JudgingTree tree;
    SilentFrontEnd front_end;
    const LinkState state;
    for (const Style style : {Style::kWindows, Style::kPosix}) {
        const Reply reply = RequestHandlers(tree, tree, style, front_end, state).handle(request);
        CZEVXML answer;
        fuzz::check(reply.text.empty() || answer.LoadXML(reply.text), "an answer is one whole document");
        fuzz::check(reply.text.size() <= kLongestAnswer, "an answer fits into the window's buffer");
    }
    return 0;
}
