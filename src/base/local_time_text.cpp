#include "base/local_time_text.h"

#include <array>

namespace relay_hub {

std::string local_time_text(std::time_t time, const char* format) {
    std::tm parts{};
    std::array<char, 128> text{};
    if (localtime_r(&time, &parts) == nullptr)
        return {};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

}  // namespace relay_hub
