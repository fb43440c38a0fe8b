#pragma once
// The question whether a file may be replaced, with the facts that help to decide. Any thread.
#include <cstdint>
#include <ctime>
#include <string>

namespace relay_hub {

struct FileFacts {
    std::uint64_t size = 0;
    timespec modified{};
    bool has_time = true;
    bool has_size = true;  // that of a folder says nothing of what it holds
};

// Whether two times are one, as far as both file systems hold them: one may keep whole seconds, another
// hundredths of microseconds.
bool is_same_time(const timespec& one, const timespec& other);

// What a question says below its text: size and date of both, which is newer or that they are the same.
std::string overwrite_facts(const FileFacts& present, const FileFacts& incoming);
// Asks for path (as it is shown), with the facts below.
std::string overwrite_question(const std::string& path, const FileFacts& present, const FileFacts& incoming);

}  // namespace relay_hub
