#include "base/size_text.h"

#include <cstdio>

namespace relay_hub {

std::string size_text(std::uint64_t bytes) {
    struct Unit {
        std::uint64_t size;
        const char* name;
    };
    static constexpr Unit kUnits[] = {{1U << 30U, "GB"}, {1U << 20U, "MB"}, {1U << 10U, "KB"}};
    char text[32];
    for (const Unit& unit : kUnits) {
        if (bytes >= unit.size) {
            const double amount = static_cast<double>(bytes) / static_cast<double>(unit.size);
            std::snprintf(text, sizeof text, "%.1f %s", amount, unit.name);
            return text;
        }
    }
    return std::to_string(bytes) + " bytes";
}

}  // namespace relay_hub
