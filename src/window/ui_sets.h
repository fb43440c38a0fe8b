#pragma once
// The window's widgets, reached by every room above. The records hold their own references, so that they
// stay valid until the program ends. Window's thread only.
#include <gtk/gtk.h>

struct __single {
    GtkWidget* frame = nullptr;
    GtkWidget* go_button = nullptr;
    GtkWidget* spare_button = nullptr;
    GtkWidget* path_entry = nullptr;
    GtkWidget* status_label = nullptr;  // its text is the side's current folder
    GtkWidget* disconnect_label = nullptr;
    GtkWidget* tree_view = nullptr;
    GtkWidget* scroller = nullptr;
    GtkWidget* drive_combo = nullptr;
    GtkWidget* content_box = nullptr;
    GtkWidget* offline_box = nullptr;
};

struct UI {
    GtkWidget* main_window = nullptr;
    GtkWidget* paned = nullptr;
    __single* left_side = nullptr;   // local
    __single* right_side = nullptr;  // remote
};

namespace relay_hub {

// As titles and messages give it.
inline constexpr char kProgramName[] = "Relay Hub";

struct Widgets {
    __single sides[2];  // element 0 is built as the local one
    UI ui{nullptr, nullptr, &sides[0], &sides[1]};
};
extern Widgets widgets;

}  // namespace relay_hub

inline constexpr auto& sub = relay_hub::widgets.sides;

UI* get_UI_sets();
void swap_side();

namespace relay_hub {

// Takes a reference of every widget that the records name; called once they are filled.
void hold_widgets();
// Drops those references and empties the records: the end of the program, and between tests.
void release_widgets();

// Text of the side's status_label as bytes: its current folder.
const char* current_folder(const __single* side);
// Keeps the bytes; the label shows shown_text of them.
void set_current_folder(const __single* side, const char* folder);
// Sets the path entry, cursor at its end. The path shows as shown_text has it.
void set_path_entry(const __single* side, const char* path);

}  // namespace relay_hub
