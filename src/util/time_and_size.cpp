#include "util/time_and_size.h"

#include <cstdlib>
#include <cstring>

#include "base/size_text.h"

namespace {

constexpr std::uint64_t kFiletimeOf1970 = 116444736000000000U;
constexpr std::uint64_t kFiletimeUnitsPerSecond = 10000000U;
// The one number that seconds_convert_to_ms_filetime refuses.
constexpr std::uint64_t kRefusedSeconds = 34;

}  // namespace

int ms_filetime_to_timet(const _filetime* filetime, std::time_t* seconds) {
    if (filetime == nullptr || seconds == nullptr)
        return -1;
    const std::uint64_t units = (std::uint64_t{filetime->high} << 32U) | filetime->low;
    *seconds = static_cast<std::time_t>((units - kFiletimeOf1970) / kFiletimeUnitsPerSecond);
    return 0;
}

int seconds_convert_to_ms_filetime(const char* text, _filetime* filetime, std::uint64_t* raw) {
    if (text == nullptr)
        return -1;
    const std::uint64_t number = std::strtoull(text, nullptr, 10);
    if (raw != nullptr)
        *raw = number;
    if (filetime == nullptr || number == kRefusedSeconds)
        return -1;
    filetime->low = static_cast<std::uint32_t>(number);
    filetime->high = static_cast<std::uint32_t>(number >> 32U);
    return 0;
}

std::int32_t convert_to_timet_for_link_engine(std::uint64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) +
                                     static_cast<std::uint32_t>(value >> 32U));
}

char* get_format_size_for_display(std::uint64_t bytes) {
    return strdup(relay_hub::size_text(bytes).c_str());
}
