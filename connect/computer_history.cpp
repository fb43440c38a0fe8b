#include "connect/computer_history.h"

#include <algorithm>

#include "base/state_file.h"

namespace relay_hub::connect {
namespace {

constexpr char kGroup[] = "Computers";
constexpr char kRecent[] = "Recent";
constexpr std::size_t kMostComputers = 20;

}  // namespace

ComputerHistory::ComputerHistory(std::string path) : path_(std::move(path)) {
    const KeyFile file = read_state_file(path_);
    for (const std::string& text : texts_of(file.get(), kGroup, kRecent)) {
        const auto address = parse_typed(text);
        const bool is_known = address && std::ranges::any_of(computers_, [&](const auto& known) {
                                  return known.computer() == address->computer();
                              });
        if (address && !is_known && computers_.size() < kMostComputers)
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
    const KeyFile file(g_key_file_new());
    set_texts(file.get(), kGroup, kRecent, texts);
    return save_state_file(file.get(), path_);
}

std::string computer_history_path() {
    return state_file_path("computers");
}

}  // namespace relay_hub::connect
