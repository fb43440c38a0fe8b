#pragma once
// The file list of a pane: column model, view columns, local filling, and the selection as names and texts.
// Everything here runs on the window's thread. Rows have a fixed height and columns fixed widths.
#include <gtk/gtk.h>

#include <memory>
#include <string>
#include <vector>

// Model columns of the list store, all texts.
enum ListColumn {
    kColumnIcon = 0,
    kColumnName,
    kColumnSize,
    kColumnType,
    kColumnModified,
    kColumnAccessed,
    kColumnSizeValue,
    kColumnKind,  // kKindFolder, kKindFile or kKindParent
    kColumnModifiedValue,
    kColumnAccessedValue,
    kColumnCreatedValue,
    kColumnCount
};
inline constexpr char kKindFolder[] = "1";
inline constexpr char kKindFile[] = "0";
inline constexpr char kKindParent[] = "R";

// A text column holds at most kCellCharacters of a name, as shown_line has it: a row whose name reads
// otherwise keeps the true bytes beside it. get_selected_to_glist and row_name give the true bytes.

void set_list_treeview(GtkWidget* tree_view);
void set_tree_treeview(GtkWidget* tree_view);
void cell_data_func(GtkTreeViewColumn* column, GtkCellRenderer* renderer, GtkTreeModel* model,
                    GtkTreeIter* iter, gpointer data);
int insert_root_row(GtkWidget* tree_view);
void fill_list_colmum(const char* name, const char* folder, void* tree_view);
// Shows a local folder. Small folders are filled in one turn; a large one is read on a worker and filled in
// slices between main-loop turns, told to the ListingWatcher. Returns 0.
int once_search_and_insert_to_treeview(const std::string& folder, GtkWidget* tree_view);
// Whether that lists names that begin with "."; not at first. For the next listing.
namespace relay_hub {
void show_hidden_files(GtkWidget* tree_view, bool shown);
bool hidden_files_are_shown(GtkWidget* tree_view);
}  // namespace relay_hub
void append_data(GtkWidget* tree_view, const int* column_ids, const char* const* texts);
void clean_tree_view(GtkWidget* tree_view);
void clean_combo_box(GtkWidget* combo);
// The tree paths of the selected rows; the caller frees paths and list (gtk_tree_path_free, g_list_free).
GList* get_selected_to_treepath_list(GtkWidget* tree_view);
// The selected rows' names without "..", in reverse order of the selection.
std::vector<std::string> get_selected_to_glist(GtkWidget* tree_view);
// Full paths (uri_flag 1: file URIs), each ended by CR LF. Empty when names is empty or a URI fails.
std::string set_glist_to_string(const std::vector<std::string>& names, const std::string& folder,
                                int uri_flag);
void traverse_list_store(GtkListStore* store);
gboolean treeview_selected_callback(GtkTreeSelection* selection, GtkTreeModel* model, GtkTreePath* path,
                                    gboolean currently_selected, gpointer data);
gint sort_iter_compare_func(GtkTreeModel* model, GtkTreeIter* a, GtkTreeIter* b, gpointer sort_id);

namespace relay_hub {

// The row's name as the file system or the engine gave it.
std::string row_name(GtkTreeModel* model, GtkTreeIter* iter);
std::string row_text(GtkTreeModel* model, GtkTreeIter* iter, int column);

// Told when a listing takes several main-loop turns, so that the window can block itself meanwhile.
// Supplied by a higher room; without one, listings are filled in one turn. Begins and ends nest.
class ListingWatcher {
  public:
    virtual ~ListingWatcher() = default;
    virtual void long_listing_begins() = 0;
    virtual void long_listing_ends() = 0;
    // False once the program is closing: the filling stops where it is.
    virtual bool go_on() = 0;
};
void set_listing_watcher(ListingWatcher* watcher);

// Fills many rows cheaply: takes the store off the view while it lives, and puts each row straight to its
// place in the store's sort by icon, equals in the order of their coming.
// add() takes kColumnCount texts in column order (null leaves a column empty) and turns the main loop now
// and then when a watcher is set; false means stop.
class RowFiller {
  public:
    explicit RowFiller(GtkWidget* tree_view, std::size_t expected_rows = 0);
    RowFiller(const RowFiller&) = delete;
    RowFiller& operator=(const RowFiller&) = delete;
    ~RowFiller();
    bool add(const char* const* texts);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// Selects the row of that name (and no other), scrolls to it and puts the cursor there. False if there is
// none.
bool select_row_by_name(GtkWidget* tree_view, const std::string& name);
// Selects exactly the rows of these names that there are, puts the cursor on cursor's row, or on the first of
// them, and scrolls to it.
// False when there is none of them.
bool select_rows_by_name(GtkWidget* tree_view, const std::vector<std::string>& names,
                         const std::string& cursor);
// Removes from names what has a row.
void remove_shown_names(GtkWidget* tree_view, std::vector<std::string>& names);
// Puts the cursor on the row and leaves the selection as it is.
void move_cursor_alone(GtkTreeView* tree_view, GtkTreePath* path);
// The row that a rename is meant for: of several selected ones that with the cursor, else the selected one.
// Empty when there is none; never "..".
std::string name_to_rename(GtkWidget* tree_view);
// Selects the row at position, or the last one before it when the list is shorter; never the ".." row.
void select_row_near(GtkWidget* tree_view, int position);

}  // namespace relay_hub
