#pragma once
// What the tests in a window share. main() in main.cpp has initialised GTK; every test runs on the window's
// thread with the GDK lock held, as a handler does.
#include <gtk/gtk.h>

#include "sandbox.h"

namespace gui_test {

using test::Names;
using test::Sandbox;

inline constexpr std::chrono::milliseconds kLimit{10000};

// Turns the main loop until done() or the limit; true when done.
bool run_until(const std::function<bool()>& done, std::chrono::milliseconds limit = kLimit);
// Serves what is waiting now.
void run_pending();

// The visible toplevel with that title, or with that text in one of its labels; null when there is none.
GtkWidget* find_window(const std::string& title);
GtkWidget* find_window_with(const std::string& text);
// The first visible widget below root for which matches() holds, or null.
GtkWidget* find_widget(GtkWidget* root, const std::function<bool(GtkWidget*)>& matches);
GtkWidget* find_button(GtkWidget* root, const std::string& label);
GtkWidget* find_entry(GtkWidget* root);
// The texts of all visible labels below root, one a line.
std::string label_texts(GtkWidget* root);
// A key press and release as the window would deliver it.
bool press_key(GtkWidget* widget, guint key, guint modifiers = 0);

// What a window manager's close button does.
void close_as_the_window_manager(GtkWidget* window);
// A list's texts of one column from top to bottom.
Names column_texts(GtkTreeModel* model, int column);
void select_rows(GtkWidget* view, const std::vector<int>& rows);

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
    [[nodiscard]] Names texts(int column) const { return column_texts(GTK_TREE_MODEL(store_), column); }
    void select(const std::vector<int>& rows) const { select_rows(view_, rows); }

  private:
    GtkWidget* window_;
    GtkWidget* view_;
    GtkListStore* store_;
};

}  // namespace gui_test
