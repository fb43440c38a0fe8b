// Lists of URIs: dropped on a pane, and offered on the desktop clipboard by another program. Needs a display.
#include "fuzz_input.h"
#include "gui/gui_fixture.h"
#include "side_function/clipboard.h"
#include "util/folder_listing.h"
#include "window/window_thread.h"

int LLVMFuzzerInitialize(int* argc, char*** argv) {
    check(gtk_init_check(argc, argv) != FALSE, "there is a display");
    relay_hub::remember_window_thread();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::string uris;  // stays on the clipboard
    uris = text_of(data, size);
    for (const std::string& path : Gfile_split_string_to_list(uris, "\r\n", 1))
        check(path.starts_with('/'), "a dropped local path is a full path");
    for (const std::string& part : Gfile_split_string_to_list(uris, "\n", 0))
        check(part.find_first_of("\r\n") == std::string::npos, "a part is one line");
    for (const char* target : {"text/uri-list", "x-special/gnome-copied-files"}) {
        gui_test::offer(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), target, uris);
        std::vector<std::string> paths{"kept"};
        const int result = get_from_clipboard(paths);
        check(paths.back() == "kept" && (result == 0 || paths.size() == 1), "only whole lists are taken");
        for (std::size_t at = 0; at + 1 < paths.size(); ++at)
            check(paths[at].starts_with('/'), "a local path is a full path");
    }
    return 0;
}
