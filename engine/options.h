#pragma once
// The engine's command line.
#include <optional>
#include <string>
#include <vector>

#include <chrono>
#include "engine/names.h"

namespace relay_hub::engine {

struct Options {
    std::string folder;
    Style style = Style::kWindows;
    std::chrono::milliseconds delay{0};
    std::size_t chunk = 0;
    bool quiet = false;
    bool help = false;
    bool version = false;
};

// Nothing, with what is wrong told, for a command line that cannot be carried out.
std::optional<Options> parse_options(const std::vector<std::string>& arguments, std::string& wrong);
std::string help_text();
std::string version_text();

}  // namespace relay_hub::engine
