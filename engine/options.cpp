#include "engine/options.h"

#include <glib.h>

#include <cstdint>
#include <limits>

#include "base/option_reader.h"

namespace relay_hub::engine {
namespace {

constexpr std::uint64_t kLongestDelay = 600000;
constexpr std::uint64_t kLargestChunk = 1ULL << 30U;

template <typename Number>
bool read_number(const std::string& text, std::uint64_t least, std::uint64_t most, Number& number) {
    guint64 value = 0;
    const bool good = g_ascii_string_to_unsigned(text.c_str(), 10, least, most, &value, nullptr) != FALSE;
    number = static_cast<Number>(value);
    return good;
}

bool set_folder(Options& options, const std::string& value) {
    options.folder = value;
    return !value.empty();
}

bool set_style(Options& options, const std::string& value) {
    options.style = value == "posix" ? Style::kPosix : Style::kWindows;
    return value == "posix" || value == "windows";
}

bool set_computer(Options& options, const std::string& value) {
    options.computer = parse_ssh_address(value);
    return options.computer.has_value();
}

bool set_status_descriptor(Options& options, const std::string& value) {
    return read_number(value, 0, std::numeric_limits<int>::max(), options.status_descriptor);
}

bool set_delay(Options& options, const std::string& value) {
    return read_number(value, 0, kLongestDelay, options.delay);
}

bool set_chunk(Options& options, const std::string& value) {
    return read_number(value, 1, kLargestChunk, options.chunk);
}

constexpr CommandOption<Options> kOptions[] = {
    {.name = "--serve", .needs = "IDS_OPTION_FOLDER", .set = set_folder},
    {.name = "--connect", .needs = "IDS_OPTION_ADDRESS", .set = set_computer},
    {.name = "--status-fd", .needs = "IDS_OPTION_DESCRIPTOR", .set = set_status_descriptor},
    {.name = "--style", .needs = "IDS_OPTION_STYLE", .set = set_style},
    {.name = "--delay", .needs = "IDS_OPTION_DELAY", .set = set_delay},
    {.name = "--chunk", .needs = "IDS_OPTION_CHUNK", .set = set_chunk},
    {.name = "--hidden", .field = &Options::hidden},
    {.name = "--quiet", .field = &Options::quiet},
    {.name = "--help", .field = &Options::help},
    {.name = "--version", .field = &Options::version},
};

}  // namespace

std::optional<Options> parse_options(const std::vector<std::string>& arguments, std::string& wrong) {
    Options options;
    if (!read_options(kOptions, arguments, options, wrong))
        return std::nullopt;
    if (options.folder.empty() != options.computer.has_value() && !options.help && !options.version) {
        wrong = fill_translated("IDS_OPTION_ONE_NEEDED", {"--serve DIR, --connect HOST"});
        return std::nullopt;
    }
    return options;
}

std::string text_asked_for(const Options& options) {
    if (!options.help)
        return options.version ? "relay-hub-engine " RELAY_HUB_VERSION "\n" : "";
    return "Usage: relay-hub-engine --serve DIR [option...]\n"
           "       relay-hub-engine --connect [user@]host[:port][/folder] [option...]\n"
           "Serves a folder of this machine, or another computer over SSH, to Relay Hub as the remote "
           "computer.\n"
           "\n"
           "  --serve DIR      the folder; no request leaves it\n"
           "  --connect HOST   the computer, reached by ssh and its SFTP server; an IPv6 address stands in\n"
           "                   brackets, and ssh:// and sftp:// addresses are taken too\n"
           "  --status-fd N    tell how the connection fares, a line an event, on this descriptor\n"
           "  --style STYLE    how its paths are written: windows (\"C:\\...\", the default for a folder) "
           "or\n"
           "                   posix (\"/...\"); another computer's are found out\n"
           "  --delay MS       wait this long before each list is answered\n"
           "  --chunk BYTES    write answers in separate pieces of this size\n"
           "  --hidden         list files whose names begin with a dot, too\n"
           "  --quiet          do not print the requests\n"
           "  --help           print this text and exit\n"
           "  --version        print the version and exit\n"
           "\n"
           "Signals, for playing trouble with the link to a folder:\n"
           "  SIGUSR1          the remote computer goes offline\n"
           "  SIGUSR2          it is back online\n"
           "  SIGTERM, SIGINT  end the engine\n"
           "\n"
           "Exit status: 0 ended as asked, 1 could not serve or connect, 2 wrong command line.\n";
}

}  // namespace relay_hub::engine
