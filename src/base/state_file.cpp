#include "base/state_file.h"

#include <fcntl.h>
#include <glib/gstdio.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "base/diagnostics.h"
#include "base/file_descriptor.h"
#include "base/glib_owners.h"

namespace relay_hub {
namespace {

constexpr int kFolderMode = 0700;
constexpr int kFileMode = 0600;
constexpr std::size_t kLargestFile = 1U << 20U;

}  // namespace

std::string state_file_path(const char* name) {
    const char* state = g_get_user_state_dir();
    const GText usual(g_build_filename(g_get_home_dir(), ".local", "state", nullptr));
    const GText path(g_build_filename(g_path_is_absolute(state) != FALSE ? state : usual.get(), "relay-hub",
                                      name, nullptr));
    return path.get();
}

KeyFile read_state_file(const std::string& path) {
    KeyFile file(g_key_file_new());
    const std::string content = small_file_content(path);
    if (g_key_file_load_from_data(file.get(), content.data(), content.size(), G_KEY_FILE_NONE, nullptr) ==
        FALSE)
        file.reset(g_key_file_new());
    return file;
}

std::string save_state_file(GKeyFile* file, const std::string& path) {
    gsize size = 0;
    const GText content(g_key_file_to_data(file, &size, nullptr));
    const GText folder(g_path_get_dirname(path.c_str()));
    if (g_mkdir_with_parents(folder.get(), kFolderMode) != 0)
        return path + ": " + error_text(errno);
    GError* error = nullptr;
    if (g_file_set_contents_full(path.c_str(), content.get(), static_cast<gssize>(size),
                                 G_FILE_SET_CONTENTS_CONSISTENT, kFileMode, &error) != FALSE)
        return {};
    const GErrorPtr owned(error);
    return owned->message;
}

std::vector<std::string> texts_of(GKeyFile* file, const char* group, const char* key) {
    const GStrv list(g_key_file_get_string_list(file, group, key, nullptr, nullptr));
    std::vector<std::string> texts;
    for (char** text = list.get(); text != nullptr && *text != nullptr; ++text)
        texts.emplace_back(*text);
    return texts;
}

void set_texts(GKeyFile* file, const char* group, const char* key, const std::vector<std::string>& texts) {
    std::vector<const char*> list;
    std::ranges::transform(texts, std::back_inserter(list), [](const auto& text) { return text.c_str(); });
    g_key_file_set_string_list(file, group, key, list.data(), list.size());
}

std::string small_file_content(const std::string& path) {
    // A FIFO would never end.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    std::string content(std::min(static_cast<std::size_t>(status.st_size), kLargestFile), '\0');
    content.resize(read_at_most(file.get(), content.data(), content.size()));
    return content;
}

}  // namespace relay_hub
