#include "base/overwrite_question.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "base/local_time_text.h"
#include "base/size_text.h"
#include "base/translated_text.h"

namespace relay_hub {
namespace {

// Nanoseconds that the clocks of file systems count in.
constexpr std::array<long, 6> kTicks{1'000'000'000, 10'000'000, 1'000'000, 1'000, 100, 1};

// The coarsest clock that could have given this time.
long tick_of(const timespec& time) {
    for (const long tick : kTicks) {
        if (time.tv_nsec % tick == 0)
            return tick;
    }
    return 1;
}

std::string date_text(std::time_t time) {
    const std::string text = local_time_text(time, "%Y-%m-%d %H:%M:%S");
    return text.empty() ? std::to_string(time) : text;
}

std::string facts_line(const char* id, const FileFacts& facts) {
    return "\n" + fill_translated(id, {facts.has_size ? size_text(facts.size) : "–",
                                       facts.has_time ? date_text(facts.modified.tv_sec) : "–"});
}

const char* comparison(const FileFacts& present, const FileFacts& incoming) {
    if (is_same_time(present.modified, incoming.modified))
        return present.size == incoming.size && present.has_size && incoming.has_size
                   ? "IDS_OVERWRITE_SAME"
                   : "IDS_OVERWRITE_SAME_DATE";
    const bool is_newer = std::tie(incoming.modified.tv_sec, incoming.modified.tv_nsec) >
                          std::tie(present.modified.tv_sec, present.modified.tv_nsec);
    return is_newer ? "IDS_OVERWRITE_INCOMING_NEWER" : "IDS_OVERWRITE_PRESENT_NEWER";
}

}  // namespace

bool is_same_time(const timespec& one, const timespec& other) {
    const long tick = std::max(tick_of(one), tick_of(other));
    return one.tv_sec == other.tv_sec && one.tv_nsec / tick == other.tv_nsec / tick;
}

std::string overwrite_facts(const FileFacts& present, const FileFacts& incoming) {
    std::string text =
        "\n" + facts_line("IDS_OVERWRITE_PRESENT", present) + facts_line("IDS_OVERWRITE_INCOMING", incoming);
    if (present.has_time && incoming.has_time)
        text.append("\n").append(translated(comparison(present, incoming)));
    return text;
}

std::string overwrite_question(const std::string& path, const FileFacts& present, const FileFacts& incoming) {
    return fill_translated("IDS_EXIST_FILE_NAME", {path}) + " ?" + overwrite_facts(present, incoming);
}

}  // namespace relay_hub
