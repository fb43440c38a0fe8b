#pragma once
// The engine's command line.
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/ssh_address.h"
#include "engine/names.h"

namespace relay_hub::engine {

struct Options {
    std::string folder;                  // of this machine; empty: another computer is served
    std::optional<SshAddress> computer;  // exactly one of the two is there
    std::optional<Style> style;
    int status_descriptor = -1;
    std::chrono::milliseconds delay{0};
    std::size_t chunk = 0;
    bool hidden = false;
    bool quiet = false;
    bool help = false;
    bool version = false;
};

// Nothing, with the reason in wrong, for a command line that cannot be carried out.
std::optional<Options> parse_options(const std::vector<std::string>& arguments, std::string& wrong);
// What to print instead of any work: the help or the version. Empty where neither was asked for.
std::string text_asked_for(const Options& options);

}  // namespace relay_hub::engine
