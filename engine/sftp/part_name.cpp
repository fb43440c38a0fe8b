#include "engine/sftp/part_name.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <set>

namespace relay_hub::engine::sftp {
namespace {

constexpr std::string_view kPrefix = ".relay-hub-";
constexpr std::string_view kSuffix = ".part";
constexpr std::time_t kOthersLimit = 7L * 24 * 3600;

struct Parts {
    std::uint64_t host = 0;
    std::uint64_t process = 0;
    std::uint64_t time = 0;
    std::uint64_t number = 0;
};

std::optional<Parts> parse(std::string_view name) {
    if (name.size() <= kPrefix.size() + kSuffix.size() || !name.starts_with(kPrefix) ||
        !name.ends_with(kSuffix))
        return std::nullopt;
    name.remove_prefix(kPrefix.size());
    name.remove_suffix(kSuffix.size());
    Parts parts;
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

// The same for every process of this installation of a system that sees the same process numbers, and for no
// other: a container often bears the id and the name of its host.
std::uint32_t this_host() {
    static const std::uint32_t host = [] {
        std::string id;
        std::ifstream("/etc/machine-id") >> id;
        std::array<char, 256> name{};
        (void)gethostname(name.data(), name.size() - 1);
        std::error_code unknown;
        const std::string processes = std::filesystem::read_symlink("/proc/self/ns/pid", unknown);
        return static_cast<std::uint32_t>(std::hash<std::string>()(id + name.data() + processes));
    }();
    return host;
}

// Whether a process of that number has been there since before then.
bool process_lives(std::uint64_t process, std::uint64_t since) {
    // The folder of a process is as old as the look at it; its number may be another's by now only if the
    // start, in ticks since the system's, says so.
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    // Another user's process may be hidden there.
    if (!std::getline(stat, line))
        return kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM;
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

// Of this process.
struct LivingParts {
    std::mutex mutex;
    std::uint32_t made = 0;
    std::set<std::string, std::less<>> names;
};

LivingParts& living_parts() {
    static LivingParts parts;
    return parts;
}

}  // namespace

PartName::PartName() {
    LivingParts& living = living_parts();
    const std::lock_guard lock(living.mutex);
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%x-%x-%llx-%x", this_host(), static_cast<unsigned>(getpid()),
                  static_cast<unsigned long long>(std::time(nullptr)), ++living.made);
    text_.append(kPrefix).append(text.data()).append(kSuffix);
    living.names.insert(text_);
}

PartName::~PartName() {
    LivingParts& living = living_parts();
    const std::lock_guard lock(living.mutex);
    living.names.erase(text_);
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
    if (parts->process == static_cast<std::uint64_t>(getpid())) {
        LivingParts& living = living_parts();
        const std::lock_guard lock(living.mutex);
        return !living.names.contains(name);
    }
    return !process_lives(parts->process, parts->time);
}

}  // namespace relay_hub::engine::sftp
