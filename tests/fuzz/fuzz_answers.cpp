// What comes to the window from outside, needs a display: the engine's answers, read by every reader, with
// lists that fill a pane of their own; and lists of URIs, dropped on a pane or offered on the clipboard by
// another program.
#include "fuzz_input.h"
#include "gui/gui_fixture.h"
#include "link_engine/answer_slot.h"
#include "side_function/clipboard.h"
#include "util/folder_listing.h"
#include "window/window_thread.h"
#include "xml_op/answer_readers.h"
#include "xml_op/answer_text.h"
#include "xml_op/parsed_answer.h"

namespace {

using Reader = int (*)(__send_args*);
constexpr Reader kReaders[] = {
    get_NP_VAL_CMD_CREATE_FOLDER,          get_NP_VAL_CMD_RENAME,
    get_NP_VAL_CMD_CHECK_REMOTE_ONLINE,    get_NP_VAL_CMD_CHECK_CONNECTION_STATUS_offline,
    get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT,    get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH,
    get_NP_VAL_CMD_MOVE_FILE_TO_TRASH,     get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL,
    get_NP_VAL_CMD_GET_DRIVER_LIST,        get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE,
    get_NP_VAL_CMD_DELETE_FOLDER,          get_NP_VAL_CMD_DELETE_FILE,
    get_NP_VAL_CMD_CHECK_CONNECTION_STATUS};

GtkTreeModel* drives = nullptr;

void build_pane() {
    GtkListStore* rows = gui_test::new_text_store(kColumnCount);
    gui_test::fill_side(sub[1], gtk_tree_view_new_with_model(GTK_TREE_MODEL(rows)));
    drives = gtk_combo_box_get_model(GTK_COMBO_BOX(sub[1].drive_combo));
    get_UI_sets()->right_side = &sub[1];
    set_list_treeview(sub[1].tree_view);
    relay_hub::hold_widgets();
}

void check_texts(GtkTreeModel* model, int columns) {
    for (int column = 0; column < columns; ++column)
        for (const std::string& text : gui_test::column_texts(model, column))
            check(g_utf8_validate(text.c_str(), -1, nullptr) != FALSE, "every text of a row can be shown");
}

void read_list(const std::string& answer, const char* folder) {
    __send_args request;
    request.list_path = folder;
    set_xml_string(answer.c_str());
    (void)get_NP_VAL_CMD_GET_FILE_LIST(&request);
    check_texts(gtk_tree_view_get_model(GTK_TREE_VIEW(sub[1].tree_view)), kColumnCount);
    (void)get_selected_to_glist(sub[1].tree_view);
}

void take_uris(std::string& uris) {
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
}

}  // namespace

int LLVMFuzzerInitialize(int* argc, char*** argv) {
    check(gtk_init_check(argc, argv) != FALSE, "there is a display");
    relay_hub::remember_window_thread();
    build_pane();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::string answer;  // stays on the clipboard
    answer = text_of(data, size);
    std::string storage;
    const std::string_view readable = relay_hub::readable_answer(answer, storage);
    check(g_utf8_validate(readable.data(), static_cast<gssize>(readable.size()), nullptr) != FALSE,
          "a readable answer is valid UTF-8");
    // A failed listing would open a box and wait for the user.
    for (const char* folder : {"C:\\", "/home"})
        if (relay_hub::ParsedAnswer(answer, RELAY_HUB_HERE).result() != -1)
            read_list(answer, folder);
    for (const Reader read : kReaders) {
        set_xml_string(answer.c_str());
        (void)read(nullptr);
        check(get_xml_string() == nullptr, "a reader empties the slot");
    }
    check_texts(drives, 3);
    gtk_list_store_clear(GTK_LIST_STORE(drives));
    relay_hub::free_return_message();
    take_uris(answer);
    return 0;
}
