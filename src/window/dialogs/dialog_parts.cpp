#include "window/dialogs/dialog_parts.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <memory>

#include "base/glib_owners.h"
#include "base/shown_text.h"
#include "tree_view_op/wrapped_label.h"
#include "window/closing.h"
#include "window/dialogs/lost_keyboard.h"
#include "window/ui_sets.h"

namespace relay_hub {

NamePromptState name_prompts;

namespace {

constexpr int kRowPadding = 5;

gboolean click_on_return(GtkWidget*, GdkEventKey* event, gpointer button) {
    if (!is_return(event->keyval))
        return FALSE;
    gtk_button_clicked(GTK_BUTTON(button));
    return TRUE;
}

void respond_cancel(GtkButton*, gpointer dialog) {
    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
}

// Two thirds of the screen that widget is on, less what a box has around its texts.
void room_for_texts(GtkWidget* widget, int* width, int* height) {
    constexpr int kBesideText = 110;
    constexpr int kAroundText = 150;
    GdkScreen* screen = gdk_screen_get_default();
    int monitor = gdk_screen_get_primary_monitor(screen);
    if (widget != nullptr && gtk_widget_get_window(widget) != nullptr)
        monitor = gdk_screen_get_monitor_at_window(screen, gtk_widget_get_window(widget));
    GdkRectangle area;
    gdk_screen_get_monitor_geometry(screen, monitor, &area);
    *width = area.width * 2 / 3 - kBesideText;
    *height = area.height * 2 / 3 - kAroundText;
}

// Wraps the layout at width. Where the first line that finds no room within height begins; a negative number
// when all do.
int first_byte_outside(PangoLayout* layout, int width, int height) {
    pango_layout_set_width(layout, width * PANGO_SCALE);
    PangoLayoutIter* lines = pango_layout_get_iter(layout);
    int start = -1;
    do {
        PangoRectangle line;
        pango_layout_iter_get_line_extents(lines, nullptr, &line);
        if (PANGO_PIXELS(line.y + line.height) > height)
            start = pango_layout_iter_get_line_readonly(lines)->start_index;
    } while (start < 0 && pango_layout_iter_next_line(lines) != FALSE);
    pango_layout_iter_free(lines);
    return start;
}

void close_prompt(NamePrompt& prompt) {
    if (prompt.dialog != nullptr)
        gtk_widget_destroy(prompt.dialog);
    prompt = {};
}

}  // namespace

bool is_return(guint key) {
    return key == GDK_KEY_Return || key == GDK_KEY_KP_Enter || key == GDK_KEY_ISO_Enter;
}

void set_fitting_text(GtkLabel* label, const std::string& text, GtkWidget* parent, int labels) {
    constexpr int kComfortableWidth = 480;
    int width = 0;
    int height = 0;
    room_for_texts(parent, &width, &height);
    std::string shown = shown_message(text);
    gtk_widget_ensure_style(GTK_WIDGET(label));
    wrap_anywhere(label);
    gtk_label_set_text(label, shown.c_str());

    const GObjectPtr<PangoLayout> layout(pango_layout_copy(gtk_label_get_layout(label)));
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    pango_layout_set_width(layout.get(), -1);
    int natural = 0;
    pango_layout_get_pixel_size(layout.get(), &natural, nullptr);
    const int widest = std::min(width, natural);
    width = std::min(widest, kComfortableWidth);
    int end = first_byte_outside(layout.get(), width, height / labels);
    if (end > 0 && width < widest) {
        width = widest;
        end = first_byte_outside(layout.get(), width, height / labels);
    }
    if (end > 0) {
        shown.resize(static_cast<std::size_t>(g_utf8_prev_char(shown.c_str() + end) - shown.c_str()));
        gtk_label_set_text(label, (shown + "…").c_str());
    }
    gtk_widget_set_size_request(GTK_WIDGET(label), width, -1);
}

GtkWidget* new_modal_dialog(GtkWidget* parent, const char* title) {
    GtkWidget* dialog = gtk_dialog_new();
    GtkWidget* over = parent != nullptr ? parent : get_UI_sets()->main_window;
    gtk_window_set_title(GTK_WINDOW(dialog), title);
    if (over != nullptr)
        gtk_window_set_transient_for(GTK_WINDOW(dialog), GTK_WINDOW(over));
    gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER_ON_PARENT);
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(dialog), TRUE);
    ask_for_keyboard_lost_with(dialog);
    return dialog;
}

void set_least_size(GtkWidget* dialog, int width, int height) {
    GtkRequisition natural;
    gtk_widget_size_request(dialog, &natural);
    gtk_widget_set_size_request(dialog, std::max(width, natural.width), std::max(height, natural.height));
}

void set_accessible_name(GtkWidget* widget, const char* name) {
    atk_object_set_name(gtk_widget_get_accessible(widget), name);
}

NamePrompt new_name_prompt(const char* title, const char* label) {
    NamePrompt prompt;
    prompt.dialog = new_modal_dialog(nullptr, title);
    prompt.label = gtk_label_new((std::string(label) + " :").c_str());
    prompt.entry = gtk_entry_new();
    prompt.ok_button = gtk_button_new_from_stock(GTK_STOCK_OK);
    prompt.cancel_button = gtk_button_new_from_stock(GTK_STOCK_CANCEL);
    set_accessible_name(prompt.entry, label);

    GtkWidget* row = gtk_hbox_new(FALSE, kRowPadding);
    gtk_box_pack_start(GTK_BOX(row), prompt.label, FALSE, FALSE, kRowPadding);
    gtk_box_pack_start(GTK_BOX(row), prompt.entry, TRUE, TRUE, kRowPadding);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(prompt.dialog))), row, TRUE, TRUE,
                       kRowPadding);
    GtkWidget* buttons = gtk_dialog_get_action_area(GTK_DIALOG(prompt.dialog));
    gtk_container_add(GTK_CONTAINER(buttons), prompt.ok_button);
    gtk_container_add(GTK_CONTAINER(buttons), prompt.cancel_button);
    gtk_widget_show_all(gtk_dialog_get_content_area(GTK_DIALOG(prompt.dialog)));
    set_least_size(prompt.dialog, 400, 115);

    g_signal_connect(prompt.entry, "key-press-event", G_CALLBACK(click_on_return), prompt.ok_button);
    g_signal_connect(prompt.cancel_button, "clicked", G_CALLBACK(respond_cancel), prompt.dialog);
    return prompt;
}

bool run_name_prompt(NamePrompt& prompt) {
    const bool accepted = run_dialog(GTK_DIALOG(prompt.dialog)) == GTK_RESPONSE_OK;
    close_prompt(prompt);
    return accepted;
}

void destroy_name_prompt(NamePrompt* prompt) {
    const std::unique_ptr<NamePrompt> owner(prompt);
    if (prompt != nullptr)
        close_prompt(*prompt);
}

}  // namespace relay_hub
