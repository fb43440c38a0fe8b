#include "engine/sftp/part_name.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <optional>

namespace relay_hub::engine::sftp {
namespace {

constexpr std::string_view kPrefix = ".relay-hub-";
constexpr std::string_view kSuffix = ".part";
constexpr std::time_t kOthersLimit = 7L * 24 * 3600;

struct PartName {
    std::uint64_t host = 0;
    std::uint64_t process = 0;
    std::uint64_t time = 0;
    std::uint64_t number = 0;
};

std::optional<PartName> parse(std::string_view name) {
    if (name.size() <= kPrefix.size() + kSuffix.size() || !name.starts_with(kPrefix) ||
        !name.ends_with(kSuffix))
        return std::nullopt;
    name.remove_prefix(kPrefix.size());
    name.remove_suffix(kSuffix.size());
    PartName parts;
    const char* at = name.data();
    const char* const end = at + name.size();
    for (std::uint64_t* part : {&parts.host, &parts.process, &parts.time, &parts.number}) {
        const auto [next, error] = std::from_chars(at, end, *part, 16);
        const bool last = part == &parts.number;
        if (error != std::errc() || (last ? next != end : next == end || *next != '-'))
            return std::nullopt;
        at = next + 1;
    }
    return parts;
}

// The same for every process of this installation of a system, and for no other.
std::uint32_t this_host() {
    static const std::uint32_t host = [] {
        std::string id;
        std::ifstream("/etc/machine-id") >> id;
        std::array<char, 256> name{};
        (void)gethostname(name.data(), name.size() - 1);
        return static_cast<std::uint32_t>(std::hash<std::string>()(id + name.data()));
    }();
    return host;
}

// Whether a process of that number has been there since before then.
bool process_lives(std::uint64_t process, std::uint64_t since) {
    // The folder of a process is as old as the look at it; its number may be another's by now only if the
    // start, in ticks since the system's, says so.
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    if (!std::getline(stat, line))
        return false;
    const std::size_t name_end = line.rfind(')');
    constexpr int kFieldsToStart = 20;
    std::size_t at = name_end;
    for (int field = 0; field < kFieldsToStart && at != std::string::npos; ++field)
        at = line.find(' ', at + 1);
    std::uint64_t ticks = 0;
    if (at == std::string::npos ||
        std::from_chars(line.data() + at + 1, line.data() + line.size(), ticks).ec != std::errc())
        return true;
    timespec up{};
    (void)clock_gettime(CLOCK_BOOTTIME, &up);
    const auto now = static_cast<std::uint64_t>(std::time(nullptr));
    const std::uint64_t started = now - static_cast<std::uint64_t>(up.tv_sec) +
                                  ticks / static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    constexpr std::uint64_t kClockSlack = 5;
    return started <= since + kClockSlack;
}

}  // namespace

std::string new_part_name() {
    static std::atomic<std::uint32_t> counter{0};
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%x-%x-%llx-%x", this_host(), static_cast<unsigned>(getpid()),
                  static_cast<unsigned long long>(std::time(nullptr)), ++counter);
    return std::string(kPrefix).append(text.data()).append(kSuffix);
}

bool is_part_name(std::string_view name) {
    return parse(name).has_value();
}

bool is_left_over(std::string_view name, std::time_t now) {
    const auto parts = parse(name);
    if (!parts)
        return false;
    if (parts->host != this_host())
        return parts->time + kOthersLimit < static_cast<std::uint64_t>(now);
    return !process_lives(parts->process, parts->time);
}

}  // namespace relay_hub::engine::sftp
