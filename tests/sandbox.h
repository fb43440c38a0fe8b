#pragma once
// What the tests of all rooms share: a folder of their own, short words for files, a wait for a condition,
// and the headers that nearly all of them want.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Names = std::vector<std::string>;

template <typename Condition>
bool wait_until(const Condition& condition, std::chrono::milliseconds limit = 30s) {
    for (const auto end = Clock::now() + limit; Clock::now() < end; std::this_thread::sleep_for(1ms))
        if (condition())
            return true;
    return condition();
}

// Whether a thread of this process waits for something.
inline bool is_asleep(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(status), {}};
    const std::size_t name_end = text.rfind(')');
    return name_end != std::string::npos && text.substr(name_end, 3) == ") S";
}

// "(none)" when it cannot be read.
inline std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string{std::istreambuf_iterator<char>(file), {}} : "(none)";
}

// With the folders above it, whatever the mask.
inline void put(const std::string& path, const std::string& text, mode_t mode = 0644) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
    ::chmod(path.c_str(), mode);
}

inline bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

// All zeros when there is none.
inline struct stat record(const std::string& path) {
    struct stat status {};
    ::lstat(path.c_str(), &status);
    return status;
}

inline mode_t mode_of(const std::string& path) {
    return record(path).st_mode & ALLPERMS;
}

// Sorted, hidden ones too.
inline Names names_in(const std::string& folder) {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

// user::rwx user:1:rw- group::--- mask::rw- other::---. False where files hold no such list.
inline bool give_access_list(const std::string& path) {
    constexpr unsigned char kList[] =
        "\2\0\0\0"
        "\1\0\7\0\377\377\377\377"
        "\2\0\6\0\1\0\0\0"
        "\4\0\0\0\377\377\377\377"
        "\20\0\6\0\377\377\377\377"
        "\40\0\0\0\377\377\377\377";
    return ::setxattr(path.c_str(), "system.posix_acl_access", kList, sizeof kList - 1, 0) == 0 &&
           mode_of(path) == 0760;
}

class Sandbox {
  public:
    Sandbox() {
        std::string name = std::filesystem::temp_directory_path() / "relay-hub-XXXXXX";
        path_ = ::mkdtemp(name.data());
    }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;
    ~Sandbox() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    // A path below the folder, or the folder itself.
    [[nodiscard]] std::string at(const std::string& name = "") const {
        return name.empty() ? path_ : path_ + "/" + name;
    }
    std::string make_file(const std::string& name, const std::string& text = "", mode_t mode = 0644) const {
        put(at(name), text, mode);
        return at(name);
    }
    std::string make_folder(const std::string& name, mode_t mode = 0755) const {
        std::filesystem::create_directories(at(name));
        ::chmod(at(name).c_str(), mode);
        return at(name);
    }
    std::string make_link(const std::string& name, const std::string& text) const {
        std::filesystem::create_symlink(text, at(name));
        return at(name);
    }

  private:
    std::string path_;
};

}  // namespace test
