#include "base/progress_text.h"

#include <cmath>

#include "base/size_text.h"
#include "base/translated_text.h"

namespace relay_hub {
namespace {

constexpr std::chrono::seconds kWindow{5};
constexpr std::chrono::milliseconds kStep{250};
constexpr std::chrono::seconds kFirstSpeed{1};
constexpr double kMinute = 60;
constexpr double kHour = 3600;
constexpr double kLongestTold = 100 * kHour;

std::string time_left_text(double seconds) {
    if (seconds < kMinute)
        return translated("IDS_PROGRESS_UNDER_A_MINUTE");
    if (seconds < 1.5 * kMinute)
        return translated("IDS_PROGRESS_ONE_MINUTE");
    if (seconds < 1.5 * kHour)
        return fill_translated("IDS_PROGRESS_MINUTES", {std::to_string(std::lround(seconds / kMinute))});
    return fill_translated("IDS_PROGRESS_HOURS", {std::to_string(std::lround(seconds / kHour))});
}

}  // namespace

std::string ProgressText::text(const ProgressCounts& counts, Clock::time_point now) {
    std::string text = fill_translated(
        "IDS_PROGRESS_ITEMS", {std::to_string(counts.items_done), std::to_string(counts.items_total)});
    if (counts.items_present > 0)
        text +=
            kBetweenFigures + fill_translated("IDS_PROGRESS_PRESENT", {std::to_string(counts.items_present)});
    if (counts.bytes_total > 0)
        text += kBetweenFigures + fill_translated("IDS_PROGRESS_BYTES", {size_text(counts.bytes_done),
                                                                         size_text(counts.bytes_total)});
    const double per_second = speed(counts, now);
    if (per_second < 1)
        return text;
    text += kBetweenFigures +
            fill_translated("IDS_PROGRESS_SPEED", {size_text(static_cast<std::uint64_t>(per_second))});
    const double left = static_cast<double>(counts.bytes_total - counts.bytes_done) / per_second;
    if (counts.bytes_done < counts.bytes_total && left < kLongestTold)
        text += kBetweenFigures + time_left_text(left);
    return text;
}

double ProgressText::speed(const ProgressCounts& counts, Clock::time_point now) {
    if (samples_.empty() || now - samples_.back().time >= kStep)
        samples_.push_back({now, counts.bytes_moved});
    // One sample at the far end of the window stays.
    while (samples_.size() > 2 && now - samples_[1].time >= kWindow)
        samples_.pop_front();
    const Sample& first = samples_.front();
    if (now - first.time < kFirstSpeed || counts.bytes_moved <= first.bytes_moved)
        return 0;
    return static_cast<double>(counts.bytes_moved - first.bytes_moved) /
           std::chrono::duration<double>(now - first.time).count();
}

}  // namespace relay_hub
