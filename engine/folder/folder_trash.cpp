#include "engine/folder/folder_trash.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <memory>

#include "base/file_descriptor.h"
#include "base/rename_without_replacing.h"
#include "engine/names.h"
#include "engine/wire_text.h"

namespace relay_hub::engine {
namespace {

constexpr int kMostNamesTried = 10000;
constexpr std::size_t kLongestName = 200;
constexpr char kInfoSuffix[] = ".trashinfo";

int open_own_folder(int parent, const std::string& name, FileDescriptor& folder) {
    if (mkdirat(parent, name.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return errno;
    folder.reset(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || fstat(folder.get(), &status) != 0)
        return errno;
    return status.st_uid == geteuid() ? 0 : EPERM;
}

std::string info_text(const std::string& path) {
    const std::unique_ptr<char, decltype(&g_free)> escaped(
        g_uri_escape_string(path.c_str(), G_URI_RESERVED_CHARS_ALLOWED_IN_PATH, FALSE), g_free);
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 32> date{};
    (void)std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    return std::string("[Trash Info]\nPath=")
        .append(escaped.get())
        .append("\nDeletionDate=")
        .append(date.data())
        .append("\n");
}

// The info file is made first: it reserves the name for this item. number goes up with each name tried.
int reserve_name(int info, const std::string& name, const std::string& text, int& number,
                 std::string& reserved) {
    for (; number <= kMostNamesTried; ++number) {
        reserved = number == 1 ? name : name + "." + std::to_string(number);
        const std::string file_name = reserved + kInfoSuffix;
        const FileDescriptor file(
            openat(info, file_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file && errno == EEXIST)
            continue;
        if (!file)
            return errno;
        const int error = write_all(file.get(), text.data(), text.size());
        if (error != 0)
            (void)unlinkat(info, file_name.c_str(), 0);
        return error;
    }
    return EEXIST;
}

}  // namespace

int trash_item(int root, int parent, const std::string& path) {
    const std::string trash_name = ".Trash-" + std::to_string(geteuid());
    // The trash cannot go into itself, and what is in it is trashed already.
    if (path == trash_name || path.starts_with(trash_name + "/"))
        return EINVAL;
    FileDescriptor trash;
    FileDescriptor files;
    FileDescriptor info;
    int error = open_own_folder(root, trash_name, trash);
    if (error == 0)
        error = open_own_folder(trash.get(), "files", files);
    if (error == 0)
        error = open_own_folder(trash.get(), "info", info);
    if (error != 0)
        return error;
    const std::string name = base_name(path);
    // Nothing is reserved for an item that is not there.
    struct stat status {};
    if (fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    // Room for the number and the suffix.
    const std::string kept_name = name.size() > kLongestName ? presentable(name, kLongestName) : name;
    const std::string text = info_text(path);
    int number = 1;
    do {
        std::string reserved;
        error = reserve_name(info.get(), kept_name, text, number, reserved);
        if (error != 0)
            return error;
        error = rename_without_replacing(parent, name, files.get(), reserved);
        if (error != 0)
            (void)unlinkat(info.get(), (reserved + kInfoSuffix).c_str(), 0);
        ++number;
    } while (error == EEXIST);
    return error;
}

}  // namespace relay_hub::engine
