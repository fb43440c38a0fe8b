#include "engine/copy_failures.h"

#include <cerrno>
#include <utility>

#include "base/diagnostics.h"
#include "base/plain_text.h"
#include "base/translated_text.h"

namespace relay_hub::engine {
namespace {

constexpr std::size_t kMostKept = 1000;
constexpr std::size_t kNamesListed = 5;
constexpr std::size_t kLongestSummary = 900;
constexpr std::size_t kLongestItem = 200;
constexpr std::size_t kLongestReason = 120;

}  // namespace

void FailureList::add(std::string item, std::string reason) {
    ++count_;
    if (kept_.size() < kMostKept)
        kept_.push_back({std::move(item), std::move(reason)});
}

std::string FailureList::lines() const {
    std::string lines;
    std::size_t listed = 0;
    for (const Failure& failure : kept_) {
        const std::string line =
            in_one_line(failure.item, kLongestItem) + ": " + in_one_line(failure.reason, kLongestReason);
        if (listed == kNamesListed || lines.size() + line.size() > kLongestSummary)
            break;
        lines += (lines.empty() ? "" : "\n") + line;
        ++listed;
    }
    if (listed < count_)
        lines += "\n…";
    return lines;
}

std::string FailureList::summary(const char* id) const {
    return empty() ? std::string() : fill_translated(id, {std::to_string(count_), lines()});
}

std::string reason_text(const Error& error) {
    if (!error.text.empty())
        return error.text;
    switch (error.number) {
        case EXDEV:
            return translated("IDS_REASON_OUTSIDE");
        case EEXIST:
            return translated("IDS_REASON_NAME_TAKEN");
        case ESTALE:
            return translated("IDS_REASON_CHANGED_IN_COPY");
        case EBUSY:
            return translated("IDS_REASON_BUSY");
        default:
            return error_text(error.number);
    }
}

}  // namespace relay_hub::engine
