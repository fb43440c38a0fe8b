// The main window and every dialog in one language: no id is left untranslated, nothing is cut.
//   test_language de_DE.UTF-8
#include <gdk/gdkkeysyms.h>

#include <set>

#include "base/translated_text.h"
#include "connect/connect_dialog.h"
#include "connect/engine_status.h"
#include "gui/window_fixture.h"
#include "ui/menus.h"
#include "ui/start_up.h"
#include "util/job_failures.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/dialogs/override_request_dialog.h"
#include "window/dialogs/search_dialog.h"
#include "window/loops.h"
#include "window/window_thread.h"

namespace {

using namespace gui_test;
namespace connect = relay_hub::connect;
using relay_hub::fill_translated;
using relay_hub::translated;

std::string text_of(GtkWidget* widget) {
    const char* text = GTK_IS_LABEL(widget)    ? gtk_label_get_text(GTK_LABEL(widget))
                       : GTK_IS_WINDOW(widget) ? gtk_window_get_title(GTK_WINDOW(widget))
                                               : nullptr;
    return text != nullptr ? text : "";
}

// Of whatever the keyboard reaches, but for what hands it on, and the button that is a part of a combo box.
bool has_spoken_name(GtkWidget* widget) {
    const char* name = atk_object_get_name(gtk_widget_get_accessible(widget));
    const auto has_text = [](GtkWidget* inner) { return GTK_IS_LABEL(inner) && !text_of(inner).empty(); };
    return gtk_widget_get_can_focus(widget) == FALSE || GTK_IS_WINDOW(widget) ||
           GTK_IS_SCROLLED_WINDOW(widget) || GTK_IS_COMBO_BOX(gtk_widget_get_parent(widget)) ||
           (name != nullptr && *name != '\0') || gui_test::find_widget(widget, has_text) != nullptr;
}

void inspect(GtkWidget* widget, gpointer where) {
    if (gtk_widget_get_mapped(widget) == FALSE)
        return;
    const std::string place = *static_cast<const std::string*>(where) + "/" + G_OBJECT_TYPE_NAME(widget);
    EXPECT_THAT(text_of(widget), testing::Not(testing::HasSubstr("IDS_"))) << place;
    EXPECT_TRUE(has_spoken_name(widget)) << place;
    // What scrolls may be smaller than its content; a window wants no more than its child.
    if (!GTK_IS_WINDOW(widget) && !GTK_IS_TREE_VIEW(widget) && !GTK_IS_TEXT_VIEW(widget)) {
        GtkRequisition natural{};  // whatever size was asked for it
        g_signal_emit_by_name(widget, "size-request", &natural);
        EXPECT_LE(natural.width, widget->allocation.width) << place << " " << text_of(widget);
        EXPECT_LE(natural.height, widget->allocation.height) << place << " " << text_of(widget);
    }
    if (GTK_IS_CONTAINER(widget))
        gtk_container_forall(GTK_CONTAINER(widget), inspect, const_cast<std::string*>(&place));
}

// A window that is shown already grows a moment after its content.
bool has_grown(GtkWidget* window) {
    GtkWidget* child = gtk_bin_get_child(GTK_BIN(window));
    GtkRequisition natural{};
    gtk_widget_size_request(child, &natural);
    return natural.width <= child->allocation.width && natural.height <= child->allocation.height;
}

void inspect_window(GtkWidget* window) {
    run_pending();
    std::string nowhere;
    inspect(window, &nowhere);
}

// Inspects each dialog that comes on top while an action runs, once, and closes it; a dialog that asks for a
// name is first answered with an unusable one, for the refusal's sake.
class Inspector {
  public:
    explicit Inspector(const char* unusable_name) : unusable_name_(unusable_name) {
        GSource* source = g_timeout_source_new(5);
        g_source_set_callback(source, look, this, nullptr);
        g_source_set_can_recurse(source, TRUE);
        id_ = g_source_attach(source, nullptr);
        g_source_unref(source);
    }
    Inspector(const Inspector&) = delete;
    Inspector& operator=(const Inspector&) = delete;
    ~Inspector() { g_source_remove(id_); }
    [[nodiscard]] std::size_t inspected() const { return seen_.size(); }

  private:
    static gboolean look(gpointer self) {
        gdk_threads_enter();
        static_cast<Inspector*>(self)->look_at(gtk_grab_get_current());
        gdk_threads_leave();
        return G_SOURCE_CONTINUE;
    }
    void look_at(GtkWidget* top) {
        if (top == nullptr || !GTK_IS_DIALOG(top) || gtk_widget_get_mapped(top) == FALSE)
            return;
        const bool is_new = seen_.insert(top).second;
        if (is_new)
            inspect_window(top);
        GtkWidget* entry = find_entry(top);
        if (is_new && entry != nullptr && unusable_name_ != nullptr) {
            gtk_entry_set_text(GTK_ENTRY(entry), unusable_name_);
            press_key(entry, GDK_KEY_Return);
        } else if (gtk_grab_get_current() == top) {
            gtk_dialog_response(GTK_DIALOG(top), GTK_RESPONSE_DELETE_EVENT);
        }
    }
    const char* unusable_name_;
    std::set<GtkWidget*> seen_;
    guint id_ = 0;
};

class Language : public MainWindowTest {
  protected:
    Language() {
        sandbox_.make_file("note.txt", "x");
        sandbox_.make_folder("letters");
        open_local(sandbox_.at());
        relay_hub::set_user_questions(relay_hub::window_questions());
    }
};

TEST_F(Language, MainWindowWithUsualTextsInItsColumns) {
    for (const auto show : {relay_hub::show_online_view, relay_hub::show_offline_view}) {
        show();
        inspect_window(get_UI_sets()->main_window);
    }
    GtkTreeView* view = GTK_TREE_VIEW(local().tree_view);
    for (const auto& [column, text] : {std::pair(1, "1023.9 KB"),
                                       {2, translated("IDS_FH_FOLDER")},
                                       {2, translated("IDS_FH_FILE")},
                                       {3, "2028-10-28 20:58:58"}}) {
        PangoLayout* layout = gtk_widget_create_pango_layout(GTK_WIDGET(view), text);
        int width = 0;
        pango_layout_get_pixel_size(layout, &width, nullptr);
        g_object_unref(layout);
        EXPECT_LE(width + 4, gtk_tree_view_column_get_width(gtk_tree_view_get_column(view, column))) << text;
    }
}

TEST_F(Language, Menu) {
    GtkWidget* menu =
        new_popup_menu(local().tree_view, nullptr, static_cast<_popup_menu_switch>(-1), nullptr);
    ASSERT_TRUE(run_until([menu] { return gtk_widget_get_mapped(menu) != FALSE; }));
    inspect_window(gtk_widget_get_toplevel(menu));
}

TEST_F(Language, PromptsQuestionsAndMessages) {
    const std::string path = "/home/somebody/Documents/The letter with a name that is rather long.txt";
    // The second is a name that the dialog refuses, where it asks for one.
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[] { on_popup_menu_mkdir(nullptr, local().tree_view); }, ""},
        {[] {
             select_rows(local().tree_view, {1});
             on_popup_menu_rename(nullptr, local().tree_view);
         },
         "a/b"},
        {[] { on_popup_menu_delete(nullptr, local().tree_view); }, nullptr},
        {[] { on_popup_menu_about(nullptr, local().tree_view); }, nullptr},
        {[&] {
             const std::string question = fill_translated("IDS_EXIST_FILE_NAME", {path}) + " ?";
             relay_hub::run_override_request(nullptr, question.c_str());
         },
         nullptr},
        {[&] { open_local(path); }, nullptr},
        {[] {
             relay_hub::window_questions()->show_error(translated("IDS_ERROR_DISPLAY"),
                                                       translated("IDS_ERROR_NO_PERMISSION"));
         },
         nullptr},
        {[&] {
             relay_hub::window_questions()->show_job_error(
                 fill_translated("IDS_MSG_ERR_FAIL_TO_CREATE_FOLDER", {path, "?"}) + "\n" +
                 fill_translated("IDS_MSG_ALREADY_RUNNING", {"Relay Hub"}) + "\n" +
                 relay_hub::failure_summary({{path, "?"}, {path, "?"}}));
         },
         nullptr},
    };
    for (const auto& [act, unusable_name] : cases) {
        const Inspector inspector(unusable_name);
        act();
        EXPECT_EQ(inspector.inspected(), unusable_name != nullptr ? 2U : 1U);
    }
}

TEST_F(Language, ProgressAndBusyDialogs) {
    for (int kind : {TASK_COPY, TASK_DEL}) {
        int state = kStateRunning;
        GtkWidget* dialog = nullptr;
        show_file_read_write_dialog(nullptr, &dialog, {&state, &kind}, kind);
        EXPECT_TRUE(run_until([dialog] { return gtk_widget_get_mapped(dialog) != FALSE; }));
        inspect_window(dialog);
        close_file_read_write_dialog(dialog);
    }
    const relay_hub::BusyDialog busy;
    EXPECT_TRUE(run_until([] { return find_window(translated("IDS_MSG_PROCESSING")) != nullptr; }));
    inspect_window(find_window(translated("IDS_MSG_PROCESSING")));
}

// By the keyboard alone: no two widgets have one letter, and each tells its name to who listens.
TEST_F(Language, ConnectDialog) {
    connect::ConnectDialog dialog({});
    dialog.computers().add_used({*connect::parse_typed("anna@laptop")});
    dialog.computers().add_configured({"tower"});
    dialog.computers().show_announced("nas", *connect::parse_typed("nas"));
    dialog.show();
    GtkWidget* window = find_window(translated("IDS_CONNECT_TITLE"));
    ASSERT_NE(window, nullptr);
    const auto inspect_grown = [window] {
        EXPECT_TRUE(run_until([window] { return has_grown(window); }));
        inspect_window(window);
    };
    inspect_grown();
    dialog.show_connecting("laptop");
    dialog.add_ssh_words("Permission denied");
    inspect_grown();
    for (int failure = 0; failure <= static_cast<int>(connect::Failure::other); ++failure) {
        dialog.show_failure(connect::what_to_do(static_cast<connect::Failure>(failure), "laptop", {}));
        inspect_grown();
    }
    std::multiset<guint> letters;
    (void)find_widget(window, [&letters](GtkWidget* widget) {
        if (GTK_IS_LABEL(widget) && gtk_label_get_mnemonic_widget(GTK_LABEL(widget)) != nullptr)
            letters.insert(gtk_label_get_mnemonic_keyval(GTK_LABEL(widget)));
        return false;
    });
    EXPECT_EQ(letters.size(), 7U);
    EXPECT_EQ(std::set(letters.begin(), letters.end()).size(), letters.size());
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    g_setenv("LANG", argv[argc - 1], TRUE);
    gdk_threads_init();
    gtk_disable_setlocale();
    gtk_init(&argc, &argv);  // without a display it says so and ends
    relay_hub::enter_chosen_locale();
    relay_hub::bind_catalogue();
    relay_hub::remember_window_thread();
    gdk_threads_enter();
    return RUN_ALL_TESTS();
}
