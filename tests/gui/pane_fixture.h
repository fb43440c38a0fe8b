#pragma once
// Two panes without the window's handlers, and an engine that answers by a script.
#include <gmock/gmock.h>
#include <gtk/gtk.h>

#include "fake_engine.h"
#include "gui/gui_fixture.h"
#include "window/ui_sets.h"

namespace gui_test {

using test::FakeEngine;

std::string message(const std::string& fields);
extern const std::string kSuccess;
// A "Line" of a file list; kind "0" is a file.
std::string line(const std::string& name, const std::string& kind, const std::string& size = "5");

class Panes : public testing::Test {
  protected:
    Panes();
    ~Panes() override;
    // The side's list as it stands, names joined by blanks; the selected ones likewise.
    static std::string names(const PaneList& list);
    static std::string selected(const PaneList& list);

    PaneList local_;
    PaneList remote_;
};

}  // namespace gui_test
