#include "engine/sftp/cipher_choice.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "base/diagnostics.h"
#include "base/glib_owners.h"
#include "base/state_file.h"
#include "engine/sftp/ssh_process.h"

namespace relay_hub::engine::sftp {
namespace {

constexpr char kGroup[] = "Ciphers";
constexpr char kWithoutAes[] = "ComputersWithoutAes";
constexpr std::size_t kMostComputers = 100;

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

// Nothing where it says nothing of the kind.
std::optional<bool> has_aes_instructions(const std::string& processors) {
    for (const std::string& line : split(processors, '\n')) {
        if (!line.starts_with("flags") && !line.starts_with("Features"))
            continue;
        const std::vector<std::string> words = split(line, ' ');
        return std::ranges::find(words, "aes") != words.end();
    }
    return std::nullopt;
}

std::string configured_ciphers(const SshAddress& address, ConfigurationFiles files) {
    constexpr std::string_view kName = "ciphers ";
    for (const std::string& line : split(ssh_configuration(address, files), '\n')) {
        if (line.starts_with(kName))
            return line.substr(kName.size());
    }
    return {};
}

std::string with_aes_gcm_first(const std::string& ciphers) {
    std::vector<std::string> each = split(ciphers, ',');
    std::stable_partition(each.begin(), each.end(), [](const std::string& cipher) {
        return cipher.starts_with("aes") && cipher.find("-gcm@") != std::string::npos;
    });
    std::string result;
    for (const std::string& cipher : each)
        result += (result.empty() ? "" : ",") + cipher;
    return result;
}

}  // namespace

CipherChoice::CipherChoice(SshAddress address, std::string state_path, bool aes_here)
    : address_(std::move(address)), state_path_(std::move(state_path)), aes_here_(aes_here) {}

std::string CipherChoice::ciphers() const {
    const auto without = texts_of(read_state_file(state_path_).get(), kGroup, kWithoutAes);
    if (!aes_here_ || std::ranges::find(without, address_.computer()) != without.end())
        return {};
    const std::string usual = configured_ciphers(address_, ConfigurationFiles::kNone);
    const bool is_left_to_ssh =
        !usual.empty() && configured_ciphers(address_, ConfigurationFiles::kUsers) == usual;
    return is_left_to_ssh ? with_aes_gcm_first(usual) : std::string();
}

void CipherChoice::learn(const std::string& processors) const {
    const auto with_aes = has_aes_instructions(processors);
    const KeyFile state = read_state_file(state_path_);
    std::vector<std::string> without = texts_of(state.get(), kGroup, kWithoutAes);
    const std::string computer = address_.computer();
    const bool known_without = std::ranges::find(without, computer) != without.end();
    if (!aes_here_ || !with_aes || *with_aes != known_without)
        return;
    std::erase(without, computer);
    if (!*with_aes)
        without.insert(without.begin(), computer);
    without.resize(std::min(without.size(), kMostComputers));
    set_texts(state.get(), kGroup, kWithoutAes, without);
    if (const std::string error = save_state_file(state.get(), state_path_); !error.empty())
        report(RELAY_HUB_HERE, "the computers without AES", error);
}

bool this_computer_has_aes() {
    char* processors = nullptr;
    if (g_file_get_contents("/proc/cpuinfo", &processors, nullptr, nullptr) == FALSE)
        return false;
    const GText owned(processors);
    return has_aes_instructions(owned.get()).value_or(false);
}

std::string cipher_state_path() {
    return state_file_path("ciphers");
}

}  // namespace relay_hub::engine::sftp
