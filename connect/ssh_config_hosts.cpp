#include "connect/ssh_config_hosts.h"

#include <glib.h>
#include <glob.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <unordered_set>

#include "base/state_file.h"

namespace relay_hub::connect {
namespace {

constexpr int kDeepestInclude = 16;
// Files that include one another would multiply.
constexpr int kMostFiles = 200;
constexpr std::string_view kBlanks = " \t\r\n\f";

// The words of a line: parted by blanks, the keyword also by one "=", a word with blanks stands in quotes.
std::vector<std::string> words_of(std::string_view line) {
    std::vector<std::string> words;
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
        if (words.size() == 1 && line.starts_with('=')) {
            line.remove_prefix(1);
            continue;
        }
        if (line.empty() || line.front() == '#')
            return words;
        const bool quoted = line.front() == '"' || line.front() == '\'';
        const std::string_view quote = line.substr(0, 1);
        if (quoted)
            line.remove_prefix(1);
        const std::string_view parting = quoted ? quote : words.empty() ? " \t\r\n\f=" : kBlanks;
        const std::size_t end = std::min(line.find_first_of(parting), line.size());
        words.emplace_back(line.substr(0, end));
        line.remove_prefix(std::min(end + (quoted ? 1 : 0), line.size()));
    }
}

bool is_keyword(const std::string& word, const char* keyword) {
    return g_ascii_strcasecmp(word.c_str(), keyword) == 0;
}

class Reader {
  public:
    explicit Reader(const std::string& home) : home_(home) {}

    void read_file(const std::string& path, int depth) {
        if (++files_ > kMostFiles)
            return;
        std::istringstream content(small_file_content(path));
        for (std::string line; std::getline(content, line);)
            read_line(words_of(line), depth);
    }
    std::vector<std::string> take() { return std::move(hosts_); }

  private:
    void read_line(const std::vector<std::string>& words, int depth) {
        if (words.size() < 2)
            return;
        for (auto word = words.begin() + 1; word != words.end(); ++word) {
            if (is_keyword(words[0], "Host"))
                add(*word);
            else if (is_keyword(words[0], "Include") && depth < kDeepestInclude)
                include(*word, depth + 1);
        }
    }
    void add(const std::string& host) {
        if (host.find_first_of("*?!") == std::string::npos && seen_.insert(host).second)
            hosts_.push_back(host);
    }
    void include(const std::string& name, int depth) {
        const std::string pattern = name.starts_with("~/")  ? home_ + name.substr(1)
                                    : name.starts_with('/') ? name
                                                            : home_ + "/.ssh/" + name;
        glob_t found{};
        if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
            for (std::size_t i = 0; i < found.gl_pathc; ++i)
                read_file(found.gl_pathv[i], depth);
        }
        globfree(&found);
    }

    const std::string& home_;
    std::vector<std::string> hosts_;
    std::unordered_set<std::string> seen_;
    int files_ = 0;
};

}  // namespace

std::vector<std::string> ssh_config_hosts(const std::string& path, const std::string& home) {
    Reader reader(home);
    reader.read_file(path, 0);
    return reader.take();
}

}  // namespace relay_hub::connect
