#include "connect/computer_history.h"

#include <glib/gstdio.h>

#include <algorithm>
#include <cerrno>

#include "base/diagnostics.h"
#include "base/glib_owners.h"

namespace relay_hub::connect {
namespace {

constexpr char kGroup[] = "Computers";
constexpr char kRecent[] = "Recent";
constexpr std::size_t kMostComputers = 20;
constexpr int kFolderMode = 0700;
constexpr int kFileMode = 0600;

struct KeyFileFree {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFree>;

}  // namespace

ComputerHistory::ComputerHistory(std::string path) : path_(std::move(path)) {
    const KeyFile file(g_key_file_new());
    if (g_key_file_load_from_file(file.get(), path_.c_str(), G_KEY_FILE_NONE, nullptr) == FALSE)
        return;
    const GStrv texts(g_key_file_get_string_list(file.get(), kGroup, kRecent, nullptr, nullptr));
    for (char** text = texts.get(); text != nullptr && *text != nullptr; ++text) {
        const auto address = parse_typed(*text);
        if (address && computers_.size() < kMostComputers)
            computers_.push_back(*address);
    }
}

std::string ComputerHistory::remember(const SshAddress& address) {
    std::erase_if(computers_, [&](const auto& known) { return known.computer() == address.computer(); });
    computers_.insert(computers_.begin(), address);
    computers_.resize(std::min(computers_.size(), kMostComputers));

    std::vector<std::string> texts;
    std::ranges::transform(computers_, std::back_inserter(texts),
                           [](const auto& known) { return known.whole(); });
    std::vector<const char*> list;
    std::ranges::transform(texts, std::back_inserter(list), [](const auto& text) { return text.c_str(); });
    const KeyFile file(g_key_file_new());
    g_key_file_set_string_list(file.get(), kGroup, kRecent, list.data(), list.size());
    gsize size = 0;
    const GText content(g_key_file_to_data(file.get(), &size, nullptr));
    const GText folder(g_path_get_dirname(path_.c_str()));
    if (g_mkdir_with_parents(folder.get(), kFolderMode) != 0)
        return path_ + ": " + error_text(errno);
    GError* error = nullptr;
    if (g_file_set_contents_full(path_.c_str(), content.get(), static_cast<gssize>(size),
                                 G_FILE_SET_CONTENTS_CONSISTENT, kFileMode, &error) != FALSE)
        return {};
    const GErrorPtr owned(error);
    return owned->message;
}

std::string computer_history_path() {
    return std::string(g_get_user_state_dir()) + "/relay-hub/computers";
}

}  // namespace relay_hub::connect
