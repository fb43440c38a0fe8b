// Computers that are no Linux, by what their servers answer: Windows with its drives and few extensions,
// macOS with names that it writes its own way.
#include <glib.h>

#include <map>

#include "base/glib_owners.h"
#include "engine/folder_lookup.h"
#include "lying_server.h"

namespace relay_hub::engine::sftp {
namespace {

const char* const kComposed = "\xc3\xa9t\xc3\xa9";
const char* const kCapital = "\xc3\x89T\xc3\x89";
const char* const kDecomposed = "e\xcc\x81te\xcc\x81";

// As Windows and macOS compare paths.
struct CommonOrder {
    bool operator()(const std::string& a, const std::string& b) const {
        return common_form(a) < common_form(b);
    }
};

class OtherSystem {
  public:
    OtherSystem(std::string home, const std::vector<std::string>& folders) : home_(std::move(home)) {
        for (const std::string& folder : folders)
            nodes_[folder] = std::nullopt;
    }
    std::map<std::string, std::optional<std::string>, CommonOrder>
        nodes_;  // path -> content, nothing for a folder

    std::string answer(const Request& request) {
        FieldReader fields(request.fields);
        const std::string first(fields.text());
        const std::string path = own_form(first);
        const auto said = [&](StatusCode code) { return status(request, code); };
        const bool there = nodes_.contains(path);
        switch (request.type) {
            case PacketType::kRealpath:
                return names(request, {first == "." ? home_ : first});
            case PacketType::kStat:
            case PacketType::kLstat:
                return there ? sftp::answer(request, PacketType::kAttributes,
                                            Fields().add(attributes(path)).bytes())
                             : said(StatusCode::kNoSuchFile);
            case PacketType::kOpendir:
                listed_ = false;
                return there ? handle(request, path) : said(StatusCode::kNoSuchFile);
            case PacketType::kReaddir:
                return std::exchange(listed_, true) ? said(StatusCode::kEndOfFile)
                                                    : list(request, first == "/" ? "/" : first + "/");
            case PacketType::kOpen:
                if ((fields.number() & kOpenCreate) != 0)
                    nodes_[path] = "";
                return nodes_.contains(path) ? handle(request, path) : said(StatusCode::kNoSuchFile);
            case PacketType::kRead: {
                const std::uint64_t offset = fields.long_number();
                const std::string& content = *nodes_[path];
                return offset >= content.size() ? said(StatusCode::kEndOfFile)
                                                : data(request, content.substr(offset));
            }
            case PacketType::kWrite:
                (void)fields.long_number();
                *nodes_[path] += fields.text();
                return said(StatusCode::kOk);
            case PacketType::kMkdir:
                return said(nodes_.emplace(path, std::nullopt).second ? StatusCode::kOk
                                                                      : StatusCode::kFailure);
            case PacketType::kRemove:
            case PacketType::kRmdir:
                return said(nodes_.erase(path) > 0 ? StatusCode::kOk : StatusCode::kNoSuchFile);
            case PacketType::kRename: {
                auto node = nodes_.extract(path);
                node.key() = own_form(std::string(fields.text()));
                return said(nodes_.insert(std::move(node)).inserted ? StatusCode::kOk : StatusCode::kFailure);
            }
            case PacketType::kExtended: {
                // Replaces the content; the name there stays as it is written.
                const auto node = nodes_.extract(own_form(std::string(fields.text())));
                nodes_[own_form(std::string(fields.text()))] = node.mapped();
                return said(StatusCode::kOk);
            }
            case PacketType::kFsetstat:
            case PacketType::kClose:
                return said(StatusCode::kOk);
            default:
                return said(StatusCode::kUnsupported);
        }
    }

  private:
    static std::string own_form(const std::string& path) {
        return GText(g_utf8_normalize(path.c_str(), -1, G_NORMALIZE_NFD)).get();
    }
    Attributes attributes(const std::string& path) {
        Attributes attributes;
        attributes.permissions = nodes_[path] ? 0100644 : 0040755;
        attributes.size = nodes_[path].value_or("").size();
        attributes.times = {1600000000, 1600000000};
        return attributes;
    }
    std::string list(const Request& request, const std::string& folder) {
        Fields fields;
        std::uint32_t count = 0;
        for (const auto& [path, content] : nodes_) {
            if (!path.starts_with(folder) || path == folder ||
                path.find('/', folder.size()) != std::string::npos)
                continue;
            fields.add(path.substr(folder.size())).add("").add(attributes(path));
            ++count;
        }
        std::string head;
        append_number(head, count);
        return sftp::answer(request, PacketType::kName, head + fields.bytes());
    }

    const std::string home_;
    bool listed_ = false;
};

struct System {
    const char* name;
    std::string home;
    std::vector<std::string> folders;
    std::optional<Style> wished;
    Style style;
    int trash;
    std::vector<std::string> drives;
    std::string shown_home;
    std::vector<std::string> extensions;
};

TEST(OtherSystem, IsKnownByItsAnswersAndServed) {
    const std::vector<std::string> windows{
        "/", "/C:", "/D:", "/C:/Users", "/C:/Users/x", "/C:/Users/x/Desktop"};
    const std::vector<std::string> mac{"/", "/Users", "/Users/x", "/Users/x/Desktop", "/Users/x/.Trash"};
    const std::vector<std::string> unlisted{windows.begin() + 1, windows.end()};
    const std::string in_c = "/C:/Users/x", shown = "C:\\Users\\x";
    using enum Style;
    const System systems[] = {
        {"Windows", in_c, windows, {}, kDrives, ENOTSUP, {"C:", "D:"}, shown, {}},
        {"Windows, drives not listed", in_c, unlisted, {}, kDrives, ENOTSUP, {"C:"}, shown, {}},
        {"Windows, shown another way", in_c, windows, kPosix, kPosix, ENOTSUP, {""}, in_c, {}},
        {"macOS", "/Users/x", mac, {}, kPosix, 0, {""}, "/Users/x", {"posix-rename@openssh.com"}},
    };
    for (const System& system : systems) {
        SCOPED_TRACE(system.name);
        OtherSystem far(system.home, system.folders);
        LyingServer server([&far](const Request& request) { return far.answer(request); }, system.extensions,
                           system.wished);
        learn_facts(server.session());
        SftpFileSystem& files = server.files();
        EXPECT_EQ(files.style(), system.style);
        Places places;
        ASSERT_FALSE(files.places(places));
        EXPECT_EQ(places.drives, system.drives);
        const std::string home = places.home.value_or("");
        EXPECT_EQ(wire_path(files.style(), home), system.shown_home);
        EXPECT_EQ(inner_path(files.style(), system.shown_home), home);
        EXPECT_EQ(places.desktop, home + "/Desktop");

        EXPECT_FALSE(files.make_folder(home + "/new", 0700));
        EXPECT_EQ(files.make_folder(home + "/new", 0700).number, EEXIST);
        Entry entry;
        const auto write_file = [&](const std::string& name, std::string_view content, bool replace) {
            std::vector<std::unique_ptr<FileSink>> sinks(1);
            Error error = files.open_sink(join_path(home + "/new", name), entry, replace, sinks[0]);
            if (!error)
                error = sinks[0]->write(content.data(), content.size());
            if (!error)
                error = sinks[0]->finish(Nothing());
            return error ? error : files.commit(sinks, true).front();
        };
        EXPECT_FALSE(write_file(kComposed, "old", false));
        const Error replaced = write_file(kCapital, "text", true);
        EXPECT_EQ(replaced.number, system.extensions.empty() ? ENOTSUP : 0);
        EXPECT_EQ(replaced.text.empty(), !system.extensions.empty());
        const std::string content = replaced ? "old" : "text";
        EXPECT_FALSE(files.settle({home + "/new"}));
        // The name comes back another way, and is the same all the same.
        Listing listing;
        ASSERT_FALSE(files.list(home + "/new", listing));
        ASSERT_EQ(listing.entries.size(), 1U);
        EXPECT_EQ(listing.entries[0].name, kDecomposed);
        for (const char* same : {kComposed, kCapital})
            EXPECT_FALSE(FolderLookup(files, home + "/new", 10).find(home + "/new", same, entry)) << same;
        EXPECT_EQ(FolderLookup(files, home + "/new", 10).find(home + "/new", "ete", entry).number, ENOENT);
        std::unique_ptr<FileSource> source;
        ASSERT_FALSE(files.open_source(home + "/new/" + kDecomposed, listing.entries[0], source));
        char buffer[10];
        std::size_t got = 0;
        EXPECT_FALSE(source->read(buffer, sizeof buffer, got));
        EXPECT_EQ(std::string(buffer, got), content);

        EXPECT_EQ(files.make_link(home + "/link", "x", entry, false).number, ENOTSUP);
        EXPECT_EQ(files.rename(home + "/new/" + kDecomposed, home + "/Desktop").number, EEXIST);
        EXPECT_FALSE(files.rename(home + "/new/" + kDecomposed, home + "/moved"));
        EXPECT_EQ(files.rename(home + "/moved", home + "/desktop").number, EEXIST);
        EXPECT_FALSE(files.rename(home + "/moved", home + "/Moved"));
        EXPECT_EQ(base_name(far.nodes_.find("/" + home + "/moved")->first), "Moved");
        EXPECT_EQ(far.nodes_.find("/" + home + "/moved")->second, content);
        const Error trash = files.move_to_trash(home + "/moved");
        EXPECT_EQ(trash.number, system.trash);
        EXPECT_EQ(trash.text.empty(), system.trash == 0);
        EXPECT_EQ(far.nodes_.contains("/" + home + (system.trash == 0 ? "/.Trash/moved" : "/moved")), true);
        std::string failed;
        EXPECT_FALSE(files.remove(home + "/new", EntryKind::kFolder, failed));
        EXPECT_FALSE(far.nodes_.contains("/" + home + "/new"));
    }
}

TEST(OtherSystem, KnowsItsTrashWhereTheHomeIsAllThereIs) {
    OtherSystem far("/", {"/", "/.local", "/.local/share", "/.local/share/Trash"});
    LyingServer server([&far](const Request& request) { return far.answer(request); });
    learn_facts(server.session());
    EXPECT_EQ(server.files().move_to_trash(".local/share/Trash").number, EINVAL);
}

// Also where the answer to the move into it never comes.
TEST(OtherSystem, KeepsTheOriginOfWhatMayBeInItsTrash) {
    OtherSystem far("/h", {"/", "/h", "/h/item"});
    std::atomic<bool> moved = false;
    {
        LyingServer server([&](const Request& request) {
            const std::string answer = far.answer(request);
            return (moved = moved || request.type == PacketType::kRename) ? std::string() : answer;
        });
        learn_facts(server.session());
        server.files().set_watch([&] { return !moved; });
        EXPECT_EQ(server.files().move_to_trash("h/item").number, ECANCELED);
        server.session().connection().drain(100ms);
    }
    EXPECT_TRUE(far.nodes_.contains("/h/.local/share/Trash/files/item"));
    EXPECT_TRUE(far.nodes_.contains("/h/.local/share/Trash/info/item.trashinfo"));
}

}  // namespace
}  // namespace relay_hub::engine::sftp
