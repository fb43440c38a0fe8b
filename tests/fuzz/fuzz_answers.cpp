// The engine's answers, read by every reader; lists fill a pane of their own. Needs a display.
#include "fuzz_input.h"
#include "gui/gui_fixture.h"
#include "link_engine/answer_slot.h"
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

}  // namespace

int LLVMFuzzerInitialize(int* argc, char*** argv) {
    check(gtk_init_check(argc, argv) != FALSE, "there is a display");
    relay_hub::remember_window_thread();
    build_pane();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string answer(text_of(data, size));
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
    return 0;
}
