// Probes, listings and lists of paths.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

#include "name_pipe/file_descriptor.h"
#include "unit/util/util_sandbox.h"

namespace {

using namespace test;

class Listing : public util_test::Sandbox {};

TEST_F(Listing, probes_types_and_rights) {
    make_file("file", "12345", 0640);
    make_file("program", "", 0750);
    const std::string folder = make_folder("folder");
    make_link("link", "folder");
    make_link("dangling", "nowhere");
    ASSERT_EQ(mkfifo(at("fifo").c_str(), 0600), 0);
    const relay_hub::FileDescriptor socket_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    at("socket").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socket_fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    const struct {
        std::string path;
        int result, type, executable;
    } cases[] = {{at("file"), 0, 3, 0},  {at("program"), 0, 3, 1}, {folder, 0, 4, 1},
                 {at("link"), 0, 2, 1},  {at("fifo"), -1, 0, 0},   {at("socket"), 0, 7, 1},
                 {"/dev/null", 0, 5, 0}, {at("none"), -1, 0, 0},   {at("dangling"), -1, 2, 0}};
    for (const auto& each : cases) {
        __file_permission permission;
        EXPECT_EQ(Gfile_check_file_type_permission(each.path, &permission), each.result) << each.path;
        EXPECT_EQ(permission.type, each.type) << each.path;
        EXPECT_EQ(permission.executable, each.executable) << each.path;
    }
    EXPECT_EQ(Gfile_file_exist(at("dangling")), 0);
    EXPECT_EQ(Gfile_get_file_size(at("link")), 6U);
    EXPECT_EQ(Gfile_check_path_permission(folder), 1);
    EXPECT_EQ(Gfile_check_path_permission(at("file")), 0);
}

TEST_F(Listing, reads_visible_names_in_natural_order) {
    const std::string folder = make_folder("folder");
    for (const char* name : {"file10", "file9", "B", "a", ".hidden", "\xff\xfe", "file9 b"})
        put(folder + "/" + name, "xy");
    ASSERT_EQ(mkdir((folder + "/c").c_str(), 0700), 0);
    ASSERT_EQ(symlink("c", (folder + "/d").c_str()), 0);
    ASSERT_EQ(symlink("gone", (folder + "/e").c_str()), 0);
    int error = -1;
    std::vector<std::string> shown;
    for (const relay_hub::FolderEntry& entry : relay_hub::read_folder(folder, &error))
        shown.push_back(entry.name + (entry.is_folder ? "/" : "") +
                        (S_ISLNK(entry.status.st_mode) ? "@" : ""));
    EXPECT_EQ(error, 0);
    ASSERT_EQ(shown.size(), 9U);
    EXPECT_NE(std::find(shown.begin(), shown.end(), "\xff\xfe"), shown.end());
    shown.erase(std::find(shown.begin(), shown.end(), "\xff\xfe"));
    EXPECT_EQ(shown, (Names{"B", "a", "c/", "d/@", "e@", "file9", "file9 b", "file10"}));

    EXPECT_TRUE(relay_hub::read_folder(at("none"), &error).empty());
    EXPECT_EQ(error, ENOENT);
    EXPECT_TRUE(relay_hub::read_folder(folder + "/a", &error).empty());
    EXPECT_EQ(error, ENOTDIR);
}

TEST_F(Listing, calls_back_and_adds_sizes) {
    const std::string folder = make_folder("folder/sub");
    make_file("folder/b", "123");
    make_file("folder/.hidden", "1234567");
    make_file("folder/sub/.deep", "1");
    std::vector<std::string> calls;
    const auto note = [](const char* name, const char* path, void* data) {
        static_cast<std::vector<std::string>*>(data)->push_back(std::string(path) + ":" + name);
    };
    Gfile_size = 100;
    Gfile_all_list_pointer(at("folder"), 0, note, &calls);
    EXPECT_EQ(calls, (Names{at("folder") + ":b", at("folder") + ":sub"}));
    const auto folder_size = static_cast<std::uint64_t>(record(folder).st_size);
    EXPECT_EQ(Gfile_size, 103 + folder_size);
    make_link("folder/sub/up", "..");
    Gfile_all_list(at("folder"), 1);
    EXPECT_EQ(g_list_length(Gfile_list), 5U) << "a link round was followed";
    relay_hub::reset_file_op_globals();
}

}  // namespace
