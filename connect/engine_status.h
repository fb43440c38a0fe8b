#pragma once
// What the engine tells on its status descriptor: one line an event, fields parted by tabs, in which "\t",
// "\n" and
// "\\" stand for a tab, a line end and a backslash. Pure, any thread.
#include <string>
#include <string_view>

namespace relay_hub::connect {

enum class EngineEvent { connecting, ssh, connected, failed, lost, unknown };

// Why a connection failed. what_to_do() has a text for each.
enum class Failure {
    unknown_host,
    refused,
    timed_out,
    host_key_changed,
    host_key_unknown,
    denied,
    no_sftp,
    no_ssh,
    cancelled,
    other
};

struct EngineStatus {
    EngineEvent event = EngineEvent::unknown;
    Failure failure = Failure::other;  // of failed
    std::string text;                  // of ssh, failed and lost: a text for people
};

// A line without its line end. What a later engine may add is unknown, or other, and does no harm.
EngineStatus parse_status(std::string_view line);

// What is wrong with the connection to host, and what to do next: in the user's language, two lines.
// ssh_words: its last ones, which hold the name by which it knows the computer.
std::string what_to_do(Failure failure, const std::string& host, const std::string& ssh_words);

}  // namespace relay_hub::connect
