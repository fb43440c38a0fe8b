// Names that end up on the disk: in both trashes, and beside files that are being written.
#include <glib.h>

#include "base/folder_handle.h"
#include "base/temporary_file.h"
#include "engine/folder/folder_file_system.h"
#include "fuzz_input.h"
#include "sandbox.h"
#include "util/trash.h"

namespace {

using namespace relay_hub;

const test::Sandbox& sandbox() {
    static const test::Sandbox only;
    return only;
}

void trash_in_the_engine(const std::string& name) {
    static const auto tree = engine::FolderFileSystem::open(sandbox().make_folder("root"),
                                                            engine::Reach::kBeneath, engine::Style::kPosix);
    const std::string trash = sandbox().at("root/.Trash-" + std::to_string(::geteuid()));
    if (engine::join_path("", name) == "." || tree->move_to_trash(name).number != 0)
        return;
    const test::Names infos = test::names_in(trash + "/info"), files = test::names_in(trash + "/files");
    check(infos.size() == 1 && files.size() == 1 && infos[0] == files[0] + ".trashinfo", "one of each");
    const std::string info = test::content(trash + "/info/" + infos[0]);
    const std::size_t begin = info.find("Path=") + 5;
    char* meant = g_uri_unescape_string(info.substr(begin, info.find('\n', begin) - begin).c_str(), nullptr);
    check(meant != nullptr && name == meant, "the info file leads back");
    g_free(meant);
    std::filesystem::remove_all(trash);
}

void trash_in_the_window(const std::string& path) {
    check(DeleteDirectory({path}), "the info file is made");
    check(!test::exists(path), "what can be made can be trashed");
    const test::Names entries = test::names_in(sandbox().at("Trash"));
    check(entries.size() == 2 && entries[1] == entries[0] + ".info", "one of each");
    check(test::content(sandbox().at("Trash/" + entries[1])).starts_with(path + "\n"), "the path is kept");
    std::filesystem::remove_all(sandbox().at("Trash"));
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ::setenv("HOME", sandbox().at().c_str(), 1);
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name(text_of(data, size));
    for (const std::string_view never : {std::string_view("/"), std::string_view("\0", 1)})
        if (name.find(never) != std::string::npos)
            return 0;
    if (name.empty() || name == "." || name == ".." || name.size() > 255)
        return 0;
    sandbox().make_file("root/" + name, name);
    trash_in_the_engine(name);
    trash_in_the_window(sandbox().make_file("work/" + name));
    const std::string beside = sandbox().make_file("work/" + name);
    const FolderHandle work = open_folder(sandbox().at("work"));
    sweep_temporary_files(::dirfd(work.get()));
    check(test::exists(beside) == !is_temporary_name(name), "only what is temporary is swept");
    std::filesystem::remove_all(sandbox().at("work"));
    return 0;
}
