// Requests to the engine, over a tree that only judges what it is asked for.
#include <cerrno>

#include "engine/request_handlers.h"
#include "fuzz_input.h"
#include "xml_doc/zev_xml.h"

namespace {

using namespace relay_hub::engine;

// Holds one folder and one file. Every path that it is asked for must lie below its root.
class JudgingTree : public RemoteFileSystem {
  public:
    int list(const std::string& folder, std::vector<Entry>& entries) override {
        judge(folder);
        if (!folder.empty())
            return ENOENT;
        entries.resize(2);
        entries[0].name = "Desktop";
        entries[0].kind = EntryKind::kFolder;
        entries[1].name = "a\xF0\x9F\x98\x80";
        return 0;
    }
    int stat(const std::string& path, Entry& entry) override {
        judge(path);
        entry.name = path;
        entry.kind = path.empty() || path == "Desktop" ? EntryKind::kFolder : EntryKind::kFile;
        return path.empty() || path == "Desktop" || path == "a\xF0\x9F\x98\x80" ? 0 : ENOENT;
    }
    int read_link(const std::string& path, std::string&) override { return refuse(path); }
    int folder_chain(const std::string& folder, std::vector<FileIdentity>&) override {
        judge(folder);
        return 0;
    }
    int open_source(const std::string& path, std::unique_ptr<FileSource>&) override { return refuse(path); }
    int open_sink(const std::string& path, bool, std::unique_ptr<FileSink>&) override { return refuse(path); }
    std::vector<int> commit(std::vector<std::unique_ptr<FileSink>>& sinks) override {
        return std::vector<int>(sinks.size(), EIO);
    }
    int settle(const std::vector<std::string>&) override { return 0; }
    void sweep(const std::string& folder) override { judge(folder); }
    int make_folder(const std::string& path, mode_t) override { return refuse(path); }
    int make_link(const std::string& path, const std::string&, const Entry&, bool) override {
        return refuse(path);
    }
    int set_attributes(const std::string& path, const Entry&) override { return refuse(path); }
    int rename(const std::string& from, const std::string& to) override {
        judge(from);
        return refuse(to);
    }
    int remove(const std::string& path, EntryKind, std::string& failed) override {
        failed = path;
        return refuse(path);
    }
    int move_to_trash(const std::string& path) override { return refuse(path); }

  private:
    static void judge(const std::string& path) {
        fuzz::check(path.find('\0') == std::string::npos && !path.starts_with('/'), "a path of the tree");
    }
    static int refuse(const std::string& path) {
        judge(path);
        return EACCES;
    }
};

class SilentFrontEnd : public FrontEnd {
  public:
    Answer confirm(const std::string&) override { return Answer::kReplaceAll; }
    bool cancelled() override { return false; }
    void progress(const Progress&) override {}
    void message(const std::string&) override {}
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
