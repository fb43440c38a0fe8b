// Lists of URIs: dropped on a pane, and offered on the desktop clipboard by another program. Needs a display.
#include <gtk/gtk.h>

#include "fuzz_input.h"
#include "side_function/clipboard.h"
#include "util/folder_listing.h"
#include "window/window_thread.h"

namespace {

std::string_view offered;

void give(GtkClipboard*, GtkSelectionData* selection, guint, gpointer) {
    gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), 8,
                           reinterpret_cast<const guchar*>(offered.data()), static_cast<int>(offered.size()));
}

void paste(std::string target) {
    const GtkTargetEntry entry{target.data(), 0, 0};
    gtk_clipboard_set_with_data(
        gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), &entry, 1, give, [](GtkClipboard*, gpointer) {}, nullptr);
    std::vector<std::string> paths{"kept"};
    const int result = get_from_clipboard(paths);
    check(paths.back() == "kept" && (result == 0 || paths.size() == 1), "only whole lists are taken");
    for (std::size_t at = 0; at + 1 < paths.size(); ++at)
        check(paths[at].starts_with('/'), "a local path is a full path");
}

}  // namespace

int LLVMFuzzerInitialize(int* argc, char*** argv) {
    check(gtk_init_check(argc, argv) != FALSE, "there is a display");
    relay_hub::remember_window_thread();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    offered = text_of(data, size);
    const std::string text(offered);
    for (const std::string& path : Gfile_split_string_to_list(text, "\r\n", 1))
        check(path.starts_with('/'), "a dropped local path is a full path");
    for (const std::string& part : Gfile_split_string_to_list(text, "\n", 0))
        check(part.find_first_of("\r\n") == std::string::npos, "a part is one line");
    static bool as_list = false;
    as_list = !as_list;
    paste(as_list ? "text/uri-list" : "x-special/gnome-copied-files");
    return 0;
}
