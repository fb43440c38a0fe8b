#include "window/dialogs/override_request_dialog.h"

#include <algorithm>
#include <string_view>

#include "base/glib_owners.h"
#include "base/translated_text.h"
#include "window/closing.h"
#include "window/dialogs/dialog_parts.h"
#include "window/dialogs/message_dialog.h"
#include "window/window_thread.h"

namespace {

struct AnswerButton {
    const char* label;
    int width;
    int response;
};
constexpr AnswerButton kAnswerButtons[] = {{"IDS_YES", 70, REQUEST_YES},
                                           {"IDS_NO", 70, REQUEST_NO},
                                           {"IDS_STR_REPLACE_ALL", 100, REQUEST_ALL},
                                           {"IDS_CANCEL", 70, REQUEST_CANCEL}};
constexpr int kAnswerHeight = 30;
constexpr int kPadding = 5;

void respond(GtkButton* button, gpointer answer) {
    GtkWidget* dialog = gtk_widget_get_toplevel(GTK_WIDGET(button));
    gtk_dialog_response(GTK_DIALOG(dialog), static_cast<const AnswerButton*>(answer)->response);
}

void set_folder_icon(GtkWidget* dialog) {
    const relay_hub::GObjectPtr<GdkPixbuf> icon(
        gtk_widget_render_icon(dialog, GTK_STOCK_DIRECTORY, GTK_ICON_SIZE_DIALOG, nullptr));
    if (icon != nullptr)
        gtk_window_set_icon(GTK_WINDOW(dialog), icon.get());
}

constexpr std::string_view kCut = "…";

// The facts below the question count more than the middle of a long path.
std::string with_short_question(const std::string& message) {
    constexpr glong kHead = 60;
    constexpr glong kTail = 100;  // the end of the path, and what is asked about it
    const std::size_t facts = std::min(message.find("\n\n"), message.size());
    const relay_hub::GText question(g_utf8_make_valid(message.data(), static_cast<gssize>(facts)));
    const glong length = g_utf8_strlen(question.get(), -1);
    if (length <= kHead + kTail)
        return message;
    std::string text(question.get(), g_utf8_offset_to_pointer(question.get(), kHead));
    text.append(kCut).append(g_utf8_offset_to_pointer(question.get(), length - kTail));
    return text + message.substr(facts);
}

void set_question(GtkLabel* label, const char* message, GtkWidget* parent) {
    relay_hub::set_fitting_text(label, message, parent);
    if (std::string_view(gtk_label_get_text(label)).ends_with(kCut))
        relay_hub::set_fitting_text(label, with_short_question(message), parent);
}

GtkWidget* question_row(GtkWidget* dialog, const char* message) {
    GtkWidget* row = gtk_hbox_new(FALSE, kPadding);
    GtkWidget* image = gtk_image_new_from_stock(GTK_STOCK_DIALOG_WARNING, GTK_ICON_SIZE_DIALOG);
    GtkWidget* label = gtk_label_new(nullptr);
    set_question(GTK_LABEL(label), message, GTK_WIDGET(gtk_window_get_transient_for(GTK_WINDOW(dialog))));
    gtk_box_pack_start(GTK_BOX(row), image, FALSE, FALSE, kPadding);
    gtk_box_pack_start(GTK_BOX(row), label, TRUE, TRUE, kPadding);
    return row;
}

// The answer that changes nothing has the keyboard.
GtkWidget* answer_row() {
    GtkWidget* row = gtk_hbox_new(FALSE, kPadding);
    for (const AnswerButton& answer : kAnswerButtons) {
        GtkWidget* button = gtk_button_new_with_label(relay_hub::translated(answer.label));
        // A longer translation is not cut.
        GtkRequisition natural;
        gtk_widget_size_request(button, &natural);
        gtk_widget_set_size_request(button, std::max(answer.width, natural.width),
                                    std::max(kAnswerHeight, natural.height));
        g_signal_connect(button, "clicked", G_CALLBACK(respond), const_cast<AnswerButton*>(&answer));
        gtk_box_pack_start(GTK_BOX(row), button, FALSE, FALSE, kPadding);
        if (answer.response == REQUEST_NO)
            g_signal_connect(button, "map", G_CALLBACK(gtk_widget_grab_focus), nullptr);
    }
    return row;
}

constexpr char kForAll[] = "relay-hub-for-all";

GtkWidget* new_for_all_box(GtkWidget* dialog) {
    GtkWidget* box = gtk_check_button_new_with_label(relay_hub::translated("IDS_OVERWRITE_SAME_FOR_ALL"));
    g_object_set_data(G_OBJECT(dialog), kForAll, box);
    return box;
}

int for_all_that_follow(int response) {
    if (response == REQUEST_YES)
        return REQUEST_ALL;
    return response == REQUEST_NO ? kRequestSkipAll : response;
}

// Opens boxes over the window that is on top when their turn comes.
class WindowQuestions : public relay_hub::UserQuestions {
  public:
    int ask_overwrite(const relay_hub::OverwriteQuestion& question) override {
        int response = GTK_RESPONSE_DELETE_EVENT;
        std::string text = question.text;
        if (question.existing && question.incoming)
            text += relay_hub::overwrite_facts(*question.existing, *question.incoming);
        relay_hub::call_on_window([&] {
            GtkWidget* parent = question.parent != nullptr ? question.parent : relay_hub::message_parent();
            response = relay_hub::run_override_request(parent, text.c_str());
        });
        return response;
    }

    void show_error(const std::string& primary, const std::string& secondary) override {
        show(GTK_BUTTONS_OK, primary, secondary);
    }

    void show_job_error(const std::string& text) override { show(GTK_BUTTONS_CLOSE, text, {}); }

  private:
    static void show(GtkButtonsType buttons, const std::string& primary, const std::string& secondary) {
        relay_hub::call_on_window(
            [&] { relay_hub::show_error_box(relay_hub::message_parent(), buttons, primary, secondary); });
    }
};

}  // namespace

int show_override_request_dialog(GtkWidget* parent, GtkWidget** dialog_out, const char* message) {
    GtkWidget* dialog = relay_hub::new_modal_dialog(parent, relay_hub::translated("IDS_CONFIRMATION"));
    set_folder_icon(dialog);
    gtk_window_set_deletable(GTK_WINDOW(dialog), FALSE);
    gtk_window_set_resizable(GTK_WINDOW(dialog), FALSE);
    GtkBox* content = GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog)));
    gtk_box_pack_start(content, question_row(dialog, message), TRUE, TRUE, kPadding);
    gtk_box_pack_start(content, new_for_all_box(dialog), FALSE, FALSE, kPadding);
    gtk_box_pack_start(content, answer_row(), FALSE, FALSE, kPadding);
    gtk_widget_show_all(GTK_WIDGET(content));
    *dialog_out = dialog;
    return 0;
}

void close_override_request_dialog(GtkWidget* dialog) {
    if (dialog != nullptr)
        gtk_widget_destroy(dialog);
}

namespace relay_hub {

int run_override_request(GtkWidget* parent, const char* message) {
    GtkWidget* dialog = nullptr;
    if (show_override_request_dialog(parent, &dialog, message) != 0)
        return GTK_RESPONSE_NONE;
    int response = run_dialog(GTK_DIALOG(dialog));
    auto* for_all = static_cast<GtkToggleButton*>(g_object_get_data(G_OBJECT(dialog), kForAll));
    if (gtk_toggle_button_get_active(for_all) != FALSE)
        response = for_all_that_follow(response);
    close_override_request_dialog(dialog);
    return response;
}

UserQuestions* window_questions() {
    static WindowQuestions questions;
    return &questions;
}

}  // namespace relay_hub
