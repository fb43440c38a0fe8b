#include "window/dialogs/about_dialog.h"

#include <cstring>
#include <string>

#include "base/translated_text.h"
#include "window/closing.h"

namespace {

constexpr char kCopyright[] = "© 2026 The Relay Hub developers";
constexpr char kLicence[] = "Apache-2.0\nhttps://www.apache.org/licenses/LICENSE-2.0";

// A full field has no terminating NUL.
template <std::size_t size>
std::string field_text(const char (&field)[size]) {
    return {field, strnlen(field, size)};
}

}  // namespace

void new_about_dialog(GtkWidget* parent, const about_info* info) {
    GtkWidget* dialog = gtk_about_dialog_new();
    gtk_window_set_transient_for(GTK_WINDOW(dialog), GTK_WINDOW(parent));
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(dialog), TRUE);
    const std::string name = field_text(info->program_name);
    if (!name.empty())
        gtk_about_dialog_set_program_name(GTK_ABOUT_DIALOG(dialog), name.c_str());
    const std::string version = field_text(info->version);
    if (!version.empty())
        gtk_about_dialog_set_version(GTK_ABOUT_DIALOG(dialog), version.c_str());
    gtk_about_dialog_set_comments(GTK_ABOUT_DIALOG(dialog), relay_hub::translated("IDS_ABOUT_SUMMARY"));
    gtk_about_dialog_set_copyright(GTK_ABOUT_DIALOG(dialog), kCopyright);
    gtk_about_dialog_set_license(GTK_ABOUT_DIALOG(dialog), kLicence);
    relay_hub::run_dialog(GTK_DIALOG(dialog));
    gtk_widget_destroy(dialog);
}
