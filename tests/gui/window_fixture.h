#pragma once
// The real main window, built and shown for each test, with the globals it touches set back afterwards. Tests
// begin with the local pane in a folder of their own and the remote pane off line, its poll at rest.
#include <gmock/gmock.h>

#include "gui/gui_fixture.h"
#include "window/closing.h"
#include "window/ui_sets.h"

namespace gui_test {

class MainWindowTest : public testing::Test {
  protected:
    MainWindowTest();
    ~MainWindowTest() override;

    void open_local(const std::string& folder);

    [[nodiscard]] static __single& local() { return *get_UI_sets()->left_side; }
    [[nodiscard]] static __single& remote() { return *get_UI_sets()->right_side; }

    relay_hub::Closing closing_;
    Sandbox sandbox_;
};

Names row_names(const __single& side);
// Without "..".
std::vector<std::string> selected_names(const __single& side);
// A mouse button event of the list, in the middle of a row; row -1 is the empty space below the rows.
void mouse(const __single& side, GdkEventType type, guint button, int row, guint state = 0);

}  // namespace gui_test
