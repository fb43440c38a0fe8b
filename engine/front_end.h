#pragma once
// What a copy asks of and tells to the front end. Called on the thread that carries out the request.
#include <cstdint>
#include <string>

#include "base/non_copyable.h"

namespace relay_hub::engine {

// kNone: nobody could be asked, or the question was closed without an answer.
enum class OverwriteAnswer { kYes, kNo, kNoToAll, kReplaceAll, kCancel, kNone };

struct Progress {
    std::string item;  // the path being copied, as the user knows it
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    std::string how_far;  // the same and more in words
};

class FrontEnd : NonCopyable {
  public:
    virtual ~FrontEnd() = default;

    // Waits for the user.
    virtual OverwriteAnswer confirm(const std::string& question) = 0;
    // Whether the work is to stop: the user said so, or nobody waits for it any more.
    virtual bool cancelled() = 0;
    // Whether the work was to stop, without the user, because the remote computer or the engine went.
    virtual bool broken_off() = 0;
    virtual void progress(const Progress& report) = 0;
    // False when it did not arrive.
    virtual bool message(const std::string& text) = 0;
};

}  // namespace relay_hub::engine
