#pragma once
// How jobs and copies appear on the desktop: the machine stays awake meanwhile, and when one has
// taken longer than ten seconds, a user who has turned to other windows learns of its end. Window's thread.
#include <glib.h>

#include <memory>

#include "base/non_copyable.h"

namespace relay_hub {

// A job or copy under way. They nest: what counts is the outermost one.
class LongWork : NonCopyable {
  public:
    LongWork();
    ~LongWork();

  private:
    friend class WorkPause;
    class SleepInhibitor;
    void go_on();
    void pause(const char* text_id);

    bool outermost_;
    gint64 began_ = 0;
    std::unique_ptr<SleepInhibitor> awake_;
};

// A box that tells of failures is open: nothing goes on until the user has come back to it. Nothing when no
// work is under way.
class WorkPause : NonCopyable {
  public:
    WorkPause();
    ~WorkPause();

  private:
    LongWork* work_;
};

}  // namespace relay_hub
