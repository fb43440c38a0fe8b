#pragma once
// What a copy asks of and tells to the front end. Called on the thread that carries out the request.
#include <chrono>
#include <cstdint>
#include <string>

namespace relay_hub::engine {

enum class Answer { kYes, kNo, kReplaceAll, kCancel };

struct Progress {
    std::string item;  // the path being copied, as the user knows it
    std::chrono::seconds elapsed{0};
    std::uint64_t done = 0;
    std::uint64_t total = 0;
};

class FrontEnd {
  public:
    FrontEnd() = default;
    FrontEnd(const FrontEnd&) = delete;
    FrontEnd& operator=(const FrontEnd&) = delete;
    virtual ~FrontEnd() = default;

    // Waits for the user. kCancel when nobody answers.
    virtual Answer confirm(const std::string& question) = 0;
    // Whether the work is to stop: the user said so, or nobody waits for it any more.
    virtual bool cancelled() = 0;
    virtual void progress(const Progress& report) = 0;
    virtual void message(const std::string& text) = 0;
};

}  // namespace relay_hub::engine
