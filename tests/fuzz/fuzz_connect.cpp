// What the program that asks for a computer reads: typed and announced addresses, the ssh configuration, its
// own list, the engine's lines with ssh's words in them.
#include <glib.h>

#include "connect/announced_computers.h"
#include "connect/computer_history.h"
#include "connect/engine_status.h"
#include "connect/line_reader.h"
#include "connect/ssh_config_hosts.h"
#include "fuzz_input.h"
#include "sandbox.h"

namespace {

using namespace relay_hub;
using namespace relay_hub::connect;

const test::Sandbox& sandbox() {
    static const test::Sandbox only;
    return only;
}

void check_address(const std::optional<SshAddress>& address) {
    if (!address)
        return;
    check(!address->host.empty() && !address->host.starts_with('-') && !address->user.starts_with('-'),
          "ssh takes neither for an option");
    const auto again = parse_typed(address->whole());
    check(again && again->whole() == address->whole(), "an address is read again as it was");
}

void announce(const std::string& user) {
    for (const char* host : {"192.168.7.2", "fe80::1%usb0"}) {
        SshAddress announced;
        announced.user = user;
        announced.host = host;
        check_address(checked_announcement(announced));
    }
}

void read_configuration(std::string text) {
    // What is included stays in the sandbox.
    std::ranges::replace(text, '/', '.');
    test::put(sandbox().at("home/.ssh/config"), text);
    for (const std::string& host : ssh_config_hosts(sandbox().at("home/.ssh/config"), sandbox().at("home")))
        check(host.find_first_of("*?!\n") == std::string::npos, "a host is no pattern and one line");
}

void read_history(const std::string& text) {
    const std::string path = sandbox().at("computers");
    test::put(path, text);
    ComputerHistory history(path);
    for (const SshAddress& address : history.computers())
        check_address(address);
    const std::string failure = history.remember(history.computers().empty() ? SshAddress{"", "nas", "", ""}
                                                                             : history.computers().back());
    check(failure.empty(), "the list is saved");
    const ComputerHistory saved(path);
    check(std::ranges::equal(saved.computers(), history.computers(), {}, &SshAddress::whole,
                             &SshAddress::whole),
          "the list is read again as it was");
}

void read_lines(std::string_view text) {
    const std::string path = sandbox().at("lines");
    test::put(path, std::string(text));
    std::size_t size = 0;
    LineReader(FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), [&](const std::string& line) {
        size += line.size();
        const std::string words = parse_status(line).text;
        const std::string advice = what_to_do(Failure::host_key_changed, "nas", words);
        check(g_utf8_validate(advice.data(), static_cast<gssize>(advice.size()), nullptr) != FALSE,
              "ssh's words are shown as text");
    }).drain();
    check(size + static_cast<std::size_t>(std::ranges::count(text, '\n')) == text.size(), "no byte is lost");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(text_of(data, size));
    check_address(parse_typed(text));
    announce(text);
    (void)folder_of_typed(text);
    read_configuration(text);
    read_history(text);
    read_lines(text);
    return 0;
}
