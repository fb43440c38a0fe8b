#pragma once
// The owner of a source of the main loop (a timer, an idle call): removes it when it goes. Window's thread.
#include <glib.h>

#include "base/non_copyable.h"

namespace relay_hub {

class MainLoopSource : NonCopyable {
  public:
    explicit MainLoopSource(guint id = 0) : id_(id) {}
    ~MainLoopSource() { reset(); }

    [[nodiscard]] explicit operator bool() const { return id_ != 0; }
    // Removes what is held and takes the source of that id, 0 for none.
    void reset(guint id = 0) {
        if (id_ != 0)
            g_source_remove(id_);
        id_ = id;
    }
    // For the call-back that is about to end its source itself.
    void forget() { id_ = 0; }

  private:
    guint id_;
};

}  // namespace relay_hub
