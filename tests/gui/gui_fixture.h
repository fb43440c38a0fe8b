#pragma once
// What the tests in a window share. main() in main.cpp has initialised GTK; every test runs on the window's
// thread with the GDK lock held, as a handler does.
#include <gtk/gtk.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace gui_test {

inline constexpr std::chrono::milliseconds kLimit{10000};

// Turns the main loop until done() or the limit; true when done.
bool run_until(const std::function<bool()>& done, std::chrono::milliseconds limit = kLimit);
// Serves what is waiting now.
void run_pending();

// The visible toplevel with that title, or null.
GtkWidget* find_window(const std::string& title);
// The first visible widget below root for which matches() holds, or null.
GtkWidget* find_widget(GtkWidget* root, const std::function<bool(GtkWidget*)>& matches);
GtkWidget* find_button(GtkWidget* root, const std::string& label);
GtkWidget* find_entry(GtkWidget* root);
// The texts of all visible labels below root, one a line.
std::string label_texts(GtkWidget* root);
// A key press and release as the window would deliver it.
bool press_key(GtkWidget* widget, guint key, guint modifiers = 0);

// Does step as soon as ready() holds while somebody else turns the main loop: how a test answers a modal
// dialog. The destructor calls it off; check done().
class When {
  public:
    When(std::function<bool()> ready, std::function<void()> step);
    When(const When&) = delete;
    When& operator=(const When&) = delete;
    ~When();
    [[nodiscard]] bool done() const { return done_; }

  private:
    static gboolean look(gpointer self);
    std::function<bool()> ready_;
    std::function<void()> step_;
    guint source_ = 0;
    bool done_ = false;
};

// A list of the window's kind: a store of 11 texts under the columns of a pane, in a window that is shown.
class PaneList {
  public:
    PaneList();
    PaneList(const PaneList&) = delete;
    PaneList& operator=(const PaneList&) = delete;
    ~PaneList();
    [[nodiscard]] GtkWidget* view() const { return view_; }
    [[nodiscard]] GtkListStore* store() const { return store_; }
    // Column texts from top to bottom.
    [[nodiscard]] std::vector<std::string> texts(int column) const;
    void select(const std::vector<int>& rows);

  private:
    GtkWidget* window_;
    GtkWidget* view_;
    GtkListStore* store_;
};

// A folder of its own for each test, removed at the end.
class Sandbox {
  public:
    Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;
    ~Sandbox();
    [[nodiscard]] std::string path(const std::string& name = "") const;
    std::string make_file(const std::string& name, const std::string& content = "") const;
    std::string make_folder(const std::string& name) const;

  private:
    std::filesystem::path root_;
};

}  // namespace gui_test
