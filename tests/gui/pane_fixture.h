#pragma once
// Two panes without the window's handlers, and an engine that answers by a script.

#include "fake_engine.h"
#include "gui/gui_fixture.h"
#include "link_engine/transfer_state.h"
#include "side_function/clipboard.h"
#include "window/closing.h"
#include "wire.h"

namespace gui_test {

using test::FakeEngine;
using test::field;
using test::hex_field;
using test::kSuccess;
using test::message;

// A "Line" of a file list; kind "0" is a file.
inline std::string line(const std::string& name, const std::string& kind, const std::string& size = "5") {
    return "<Line><TA>" + name + "</TA><TY>" + size + "</TY><TZ2>" + size +
           " B</TZ2><TO>100</TO><TR>200</TR><TU>300</TU><TH>" + kind + "</TH></Line>";
}

class Panes : public testing::Test {
  protected:
    Panes() {
        get_UI_sets()->main_window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        fill_side(sub[0], local_.view());
        fill_side(sub[1], remote_.view());
        relay_hub::hold_widgets();
        relay_hub::end_offer();
        CleanUpInformationVar();
    }
    ~Panes() override {
        gtk_widget_destroy(get_UI_sets()->main_window);
        relay_hub::release_widgets();
        relay_hub::end_offer();
    }
    // The side's list as it stands, names joined by blanks; the selected ones likewise.
    static std::string names(const PaneList& list) { return joined(list.texts(kColumnName)); }
    static std::string selected(const PaneList& list) { return joined(get_selected_to_glist(list.view())); }

    const relay_hub::Closing closing_;
    PaneList local_;
    PaneList remote_;

  private:
    static std::string joined(const Names& texts) {
        std::string all;
        for (const std::string& text : texts)
            all += (all.empty() ? "" : " ") + text;
        return all;
    }
};

}  // namespace gui_test
