#pragma once
// Does step as soon as ready() holds while somebody else turns the main loop: how a test answers a modal
// dialog, or acts while a request waits. The destructor calls it off; check done().
#include <glib.h>

#include <functional>
#include <utility>

namespace test {

class When {
  public:
    using AddTimeout = guint (*)(guint interval, GSourceFunc function, gpointer data);
    When(std::function<bool()> ready, std::function<void()> step, AddTimeout add = g_timeout_add)
        : ready_(std::move(ready)), step_(std::move(step)), source_(add(5, look, this)) {}
    When(const When&) = delete;
    When& operator=(const When&) = delete;
    ~When() {
        if (source_ != 0)
            g_source_remove(source_);
    }
    [[nodiscard]] bool done() const { return done_; }

  private:
    static gboolean look(gpointer self) {
        auto* when = static_cast<When*>(self);
        if (!when->ready_())
            return G_SOURCE_CONTINUE;
        when->source_ = 0;
        when->step_();
        when->done_ = true;
        return G_SOURCE_REMOVE;
    }
    std::function<bool()> ready_;
    std::function<void()> step_;
    guint source_ = 0;
    bool done_ = false;
};

}  // namespace test
