#include "connect/options.h"

namespace relay_hub::connect {
namespace {

struct Switch {
    const char* name;
    bool Options::*field;
};
constexpr Switch kSwitches[] = {
    {"--share", &Options::share},
    {"--help", &Options::help},
    {"--version", &Options::version},
};

bool take_switch(const std::string& word, Options& options) {
    for (const Switch& row : kSwitches) {
        if (word == row.name)
            return options.*row.field = true;
    }
    return false;
}

}  // namespace

std::optional<Options> parse_options(const std::vector<std::string>& words, std::string& wrong) {
    Options options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (take_switch(word, options))
            continue;
        if (word == "--serve") {
            options.serve = i + 1 < words.size() ? words[++i] : "";
            wrong = options.serve.empty() ? "--serve needs a folder" : "";
        } else if (options.computer || word.starts_with('-')) {
            wrong = "there is no option " + word;
        } else {
            options.computer = parse_typed(word);
            wrong = options.computer ? "" : word + " names no computer";
        }
        if (!wrong.empty())
            return std::nullopt;
    }
    if (int{options.computer.has_value()} + int{!options.serve.empty()} + int{options.share} > 1) {
        wrong = "a computer, --serve and --share exclude one another";
        return std::nullopt;
    }
    return options;
}

std::string help_text() {
    return "Usage: relay-hub-connect [[user@]host[:port][/folder] | --serve DIR | --share]\n"
           "Asks which computer, connects to it over SSH, and opens Relay Hub's window with it.\n"
           "\n"
           "  [user@]host[:port][/folder]  connect to this computer at once\n"
           "  --serve DIR                  open a folder of this computer instead\n"
           "  --share                      ask for a folder of this computer\n"
           "  --help                       print this text and exit\n"
           "  --version                    print the version and exit\n"
           "\n"
           "Exit status: the window's own, 1 when no connection came about, 2 for a wrong command line.\n";
}

std::string version_text() {
    return "relay-hub-connect " RELAY_HUB_VERSION "\n";
}

}  // namespace relay_hub::connect
