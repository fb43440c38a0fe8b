#include "tree_view_op/Zev_list_view.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "base/diagnostics.h"
#include "base/glib_owners.h"
#include "base/path_text.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "tree_view_op/listing_turns.h"
#include "tree_view_op/local_row.h"
#include "tree_view_op/row_store.h"
#include "tree_view_op/wrapped_label.h"

using relay_hub::list_store_of;

namespace {

constexpr char kUnit[] = "../src/tree_view_op/Zev_list_view.cpp";

struct ViewColumn {
    const char* title;
    bool is_translated;
    int model_column;
    int width;
    bool is_visible;
};
constexpr ViewColumn kViewColumns[] = {
    {"IDS_STR_LISTVIEW_NAME", true, kColumnName, 150, true},
    {"IDS_STR_LISTVIEW_SIZE", true, kColumnSize, 80, true},
    {"IDS_STR_LISTVIEW_TYPE", true, kColumnType, 45, true},
    {"IDS_FH_MODIFY", true, kColumnModified, 150, true},
    {"Date Accessed", false, kColumnAccessed, 150, false},
    {"SIZE VALUE", false, kColumnSizeValue, 70, false},
    {"TYPE V", false, kColumnKind, 40, false},
    {"MODIFY TIME VALUE", false, kColumnModifiedValue, 150, false},
    {"ACCESS TIME VALUE", false, kColumnAccessedValue, 150, false},
    {"CREATE TIME VALUE", false, kColumnCreatedValue, 150, false},
};

void add_icon(GtkTreeViewColumn* column) {
    GtkCellRenderer* icon = gtk_cell_renderer_pixbuf_new();
    gtk_tree_view_column_pack_start(column, icon, FALSE);
    gtk_tree_view_column_add_attribute(column, icon, "stock-id", kColumnIcon);
    gtk_tree_view_column_set_sort_column_id(column, kColumnIcon);
}

// The toolkit's own header label would take underscores in the title for mnemonics.
void set_title(GtkTreeViewColumn* column, const char* title) {
    gtk_tree_view_column_set_title(column, title);
    GtkWidget* label = gtk_label_new(title);
    gtk_widget_show(label);
    gtk_tree_view_column_set_widget(column, label);
}

// One line of a fixed height, whatever stands in it.
GtkCellRenderer* new_text_cell(const ViewColumn& given) {
    GtkCellRenderer* text = gtk_cell_renderer_text_new();
    const bool is_name = given.model_column == kColumnName;
    g_object_set(text, "single-paragraph-mode", TRUE, "ellipsize",
                 is_name ? PANGO_ELLIPSIZE_MIDDLE : PANGO_ELLIPSIZE_END, "width", given.width, nullptr);
    if (given.model_column == kColumnSize)
        g_object_set(text, "xalign", 1.0, nullptr);
    return text;
}

GtkTreeViewColumn* new_column(const ViewColumn& given) {
    GtkTreeViewColumn* column = gtk_tree_view_column_new();
    GtkCellRenderer* text = new_text_cell(given);
    set_title(column, given.is_translated ? relay_hub::translated(given.title) : given.title);
    if (given.model_column == kColumnName)
        add_icon(column);
    gtk_tree_view_column_pack_start(column, text, TRUE);
    gtk_tree_view_column_add_attribute(column, text, "text", given.model_column);
    if (given.model_column == kColumnName)
        gtk_tree_view_column_set_cell_data_func(column, text, cell_data_func, nullptr, nullptr);
    gtk_tree_view_column_set_expand(column, given.model_column == kColumnName ? TRUE : FALSE);
    gtk_tree_view_column_set_sizing(column, GTK_TREE_VIEW_COLUMN_FIXED);
    gtk_tree_view_column_set_fixed_width(column, given.width);
    gtk_tree_view_column_set_resizable(column, TRUE);
    gtk_tree_view_column_set_visible(column, given.is_visible);
    return column;
}

// The name in the cell is shortened: the tooltip tells it whole.
gboolean show_whole_name(GtkWidget* tree_view, gint x, gint y, gboolean by_keyboard, GtkTooltip* tooltip,
                         gpointer) {
    constexpr int kCharacters = 60;
    GtkTreeView* view = GTK_TREE_VIEW(tree_view);
    GtkTreeModel* model = nullptr;
    GtkTreePath* path = nullptr;
    GtkTreeIter iter;
    if (gtk_tree_view_get_tooltip_context(view, &x, &y, by_keyboard, &model, &path, &iter) == FALSE)
        return FALSE;
    GtkTreeViewColumn* column = gtk_tree_view_get_column(view, 0);
    GtkTreeViewColumn* under_pointer = column;
    if (by_keyboard == FALSE)
        (void)gtk_tree_view_get_path_at_pos(view, x, y, nullptr, &under_pointer, nullptr, nullptr);
    const std::string name = relay_hub::row_name(model, &iter);
    const bool tells = under_pointer == column && name != "..";
    if (tells) {
        GtkWidget* label = gtk_label_new(relay_hub::shown_line(name, relay_hub::kMessageCharacters).c_str());
        relay_hub::wrap_anywhere(GTK_LABEL(label));
        gtk_label_set_max_width_chars(GTK_LABEL(label), kCharacters);
        // A tooltip's label is laid out anew when it is drawn, and wraps then only to a width of its own.
        int width = 0;
        pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(label)), &width, nullptr);
        gtk_widget_set_size_request(label, width, -1);
        gtk_tooltip_set_custom(tooltip, label);
        gtk_tree_view_set_tooltip_cell(view, tooltip, path, column, nullptr);
    }
    gtk_tree_path_free(path);
    return tells ? TRUE : FALSE;
}

int text_width(GtkWidget* tree_view, const char* text) {
    const relay_hub::GObjectPtr<PangoLayout> layout(gtk_widget_create_pango_layout(tree_view, text));
    int width = 0;
    pango_layout_get_pixel_size(layout.get(), &width, nullptr);
    return width;
}

// What a column is to hold besides names, which may be of any length.
std::vector<const char*> usual_texts(int model_column) {
    switch (model_column) {
        case kColumnSize:
            return {"1023.9 KB"};
        case kColumnType:
            return {relay_hub::translated("IDS_FH_FOLDER"), relay_hub::translated("IDS_FH_FILE")};
        case kColumnModified:
            return {"2028-10-28 20:58:58"};
        default:
            return {};
    }
}

// Never below the given width, and wide enough for the title and the usual texts in this language and font.
// Only a list that is realized knows its fonts.
void widen_for_texts(GtkWidget* tree_view, gpointer) {
    constexpr int kCellPadding = 8;
    for (int index = 0; index < static_cast<int>(std::size(kViewColumns)); ++index) {
        const ViewColumn& given = kViewColumns[index];
        if (!given.is_visible)
            continue;
        GtkTreeViewColumn* column = gtk_tree_view_get_column(GTK_TREE_VIEW(tree_view), index);
        GtkRequisition title;
        gtk_widget_size_request(column->button, &title);
        int width = std::max(given.width, title.width);
        for (const char* text : usual_texts(given.model_column))
            width = std::max(width, text_width(tree_view, text) + kCellPadding);
        gtk_tree_view_column_set_fixed_width(column, width);
    }
}

std::string joined_path(const std::string& folder, const std::string& name) {
    const bool drive_path = folder.size() > 1 && folder[1] == ':';
    const relay_hub::GText path(g_build_path(drive_path ? "\\" : "/", folder.c_str(), name.c_str(), nullptr));
    return path.get();
}

int collate_column(GtkTreeModel* model, GtkTreeIter* a, GtkTreeIter* b, int column) {
    return g_utf8_collate(relay_hub::row_text(model, a, column).c_str(),
                          relay_hub::row_text(model, b, column).c_str());
}

// The toolkit turns a descending comparison round; the digit turns with it, so folders stay ahead.
std::string name_with_group(GtkTreeModel* model, GtkTreeIter* iter, GtkSortType order) {
    const bool is_folder = relay_hub::row_text(model, iter, kColumnKind) != kKindFile;
    const bool goes_first = is_folder == (order == GTK_SORT_ASCENDING);
    return (goes_first ? "0_" : "1_") + relay_hub::row_text(model, iter, kColumnName);
}

}  // namespace

void set_list_treeview(GtkWidget* tree_view) {
    for (const ViewColumn& given : kViewColumns)
        gtk_tree_view_append_column(GTK_TREE_VIEW(tree_view), new_column(given));
    gtk_tree_view_set_fixed_height_mode(GTK_TREE_VIEW(tree_view), TRUE);
    g_signal_connect_after(tree_view, "realize", G_CALLBACK(widen_for_texts), nullptr);
    gtk_widget_set_has_tooltip(tree_view, TRUE);
    g_signal_connect(tree_view, "query-tooltip", G_CALLBACK(show_whole_name), nullptr);
}

void set_tree_treeview(GtkWidget*) {}

void cell_data_func(GtkTreeViewColumn*, GtkCellRenderer*, GtkTreeModel*, GtkTreeIter*, gpointer) {}

int insert_root_row(GtkWidget* tree_view) {
    if (GtkListStore* store = list_store_of(tree_view))
        relay_hub::insert_row(store, -1, relay_hub::parent_row().data());
    return 0;
}

void fill_list_colmum(const char* name, const char* folder, void* tree_view) {
    GtkListStore* store = list_store_of(static_cast<GtkWidget*>(tree_view));
    if (store == nullptr)
        return;
    GtkTreeIter iter;
    gtk_list_store_append(store, &iter);
    const relay_hub::LocalRow row =
        relay_hub::LocalRowFormatter().row_of(relay_hub::read_entry(folder, name));
    if (row.vanished)
        return;
    const relay_hub::RowTexts texts = row.texts();
    for (int column = 0; column < kColumnCount; ++column)
        if (column != kColumnName)
            gtk_list_store_set(store, &iter, column, texts[static_cast<std::size_t>(column)], -1);
    relay_hub::set_row_name(store, &iter, name);
}

void append_data(GtkWidget* tree_view, const int* column_ids, const char* const* texts) {
    GtkListStore* store = list_store_of(tree_view);
    if (store == nullptr)
        return;
    relay_hub::RowTexts row{};
    for (; *column_ids != -1; ++column_ids, ++texts)
        row[static_cast<std::size_t>(*column_ids)] = *texts;
    relay_hub::insert_row(store, -1, row.data());
}

namespace {

void take_rows_away(GtkListStore* store) {
    GtkTreeModel* model = GTK_TREE_MODEL(store);
    const auto rows = static_cast<std::size_t>(gtk_tree_model_iter_n_children(model, nullptr));
    relay_hub::ListingTurns turns(rows);
    if (rows >= relay_hub::kLongListing) {
        // The view has just let go of each row.
        turns.begin();
        turns.serve();
    }
    GtkTreeIter iter;
    for (std::size_t taken = 0;
         turns.after_rows(taken) && gtk_tree_model_get_iter_first(model, &iter) != FALSE; ++taken)
        gtk_list_store_remove(store, &iter);
    // A window that closes has stopped the loop early.
    gtk_list_store_clear(store);
}

}  // namespace

void clean_tree_view(GtkWidget* tree_view) {
    GtkListStore* store = list_store_of(tree_view);
    if (store == nullptr)
        return;
    // A view that loses its model while it is scrolled draws from the top but keeps its scroll bar where it
    // was.
    if (GtkAdjustment* scrolled = gtk_tree_view_get_vadjustment(GTK_TREE_VIEW(tree_view)))
        gtk_adjustment_set_value(scrolled, gtk_adjustment_get_lower(scrolled));
    // Off the view: taking many rows away one by one before its eyes is slow.
    const relay_hub::GObjectPtr<GtkListStore> held(GTK_LIST_STORE(g_object_ref(store)));
    gtk_tree_view_set_model(GTK_TREE_VIEW(tree_view), nullptr);
    take_rows_away(store);
    relay_hub::show_store(GTK_TREE_VIEW(tree_view), store);
}

void clean_combo_box(GtkWidget* combo) {
    if (GtkTreeModel* model = gtk_combo_box_get_model(GTK_COMBO_BOX(combo)))
        gtk_list_store_clear(GTK_LIST_STORE(model));
}

std::string set_glist_to_string(const std::vector<std::string>& names, const std::string& folder,
                                int uri_flag) {
    std::string text;
    for (const std::string& name : names) {
        std::string line = joined_path(folder, name);
        std::string why;
        if (uri_flag == 1)
            line = relay_hub::file_uri(line, why);
        if (line.empty()) {
            relay_hub::report({kUnit, __func__, 132}, why);
            return {};
        }
        std::printf("tmp_str[%s]\n", line.c_str());
        text += line + "\r\n";
    }
    return text;
}

void traverse_list_store(GtkListStore* store) {
    g_return_if_fail(store != nullptr);
    relay_hub::for_each_row(GTK_TREE_MODEL(store), [](GtkTreeIter*) {});
}

gint sort_iter_compare_func(GtkTreeModel* model, GtkTreeIter* a, GtkTreeIter* b, gpointer sort_id) {
    int sort_column = 0;
    GtkSortType order = GTK_SORT_ASCENDING;
    gtk_tree_sortable_get_sort_column_id(GTK_TREE_SORTABLE(model), &sort_column, &order);
    std::puts(order == GTK_SORT_ASCENDING ? "GTK_SORT_ASCENDING" : "GTK_SORT_DESCENDING");
    switch (GPOINTER_TO_INT(sort_id)) {
        case kColumnName: {
            std::puts("The sort column is NAME");
            const std::string name_a = name_with_group(model, a, order);
            const std::string name_b = name_with_group(model, b, order);
            std::printf("name1:%s\tname2:%s\n", name_a.c_str(), name_b.c_str());
            return g_utf8_collate(name_a.c_str(), name_b.c_str());
        }
        case kColumnSize:
            return collate_column(model, a, b, kColumnSize);
        case kColumnType:
            std::puts("The sort column is TYPE");
            return collate_column(model, a, b, kColumnType);
        default:
            return 0;
    }
}
