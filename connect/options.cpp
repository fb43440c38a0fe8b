#include "connect/options.h"

#include "base/option_reader.h"

namespace relay_hub::connect {
namespace {

constexpr CommandOption<Options> kOptions[] = {
    {.name = "--serve",
     .needs = "IDS_OPTION_FOLDER",
     .set =
         [](Options& options, const std::string& folder) {
             options.serve = folder;
             return !folder.empty();
         }},
    {.name = "--share", .field = &Options::share},
    {.name = "--help", .field = &Options::help},
    {.name = "--version", .field = &Options::version},
};

bool take_computer(Options& options, const std::string& word, std::string& wrong) {
    wrong = fill_translated(options.computer ? "IDS_OPTION_UNKNOWN" : "IDS_OPTION_NO_COMPUTER", {word});
    if (options.computer)
        return false;
    options.computer = parse_typed(word);
    return options.computer.has_value();
}

}  // namespace

std::optional<Options> parse_options(const std::vector<std::string>& words, std::string& wrong) {
    Options options;
    if (!read_options(kOptions, words, options, wrong, take_computer))
        return std::nullopt;
    wrong.clear();
    if (int{options.computer.has_value()} + int{!options.serve.empty()} + int{options.share} > 1) {
        wrong = fill_translated("IDS_OPTION_ONE_AT_MOST", {"[user@]host[:port][/folder], --serve, --share"});
        return std::nullopt;
    }
    return options;
}

std::string text_asked_for(const Options& options) {
    if (!options.help)
        return options.version ? "relay-hub-connect " RELAY_HUB_VERSION "\n" : "";
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

}  // namespace relay_hub::connect
