#pragma once
// The command line of relay-hub-connect.
#include <optional>
#include <string>
#include <vector>

#include "connect/typed_address.h"

namespace relay_hub::connect {

struct Options {
    std::optional<SshAddress> computer;
    std::string serve;  // a folder of this computer
    bool share = false;
    bool help = false;
    bool version = false;
};

// Nothing, with the reason in wrong, for a command line that cannot be carried out.
std::optional<Options> parse_options(const std::vector<std::string>& words, std::string& wrong);
// What to print instead of any work: the help or the version. Empty where neither was asked for.
std::string text_asked_for(const Options& options);

}  // namespace relay_hub::connect
