#include "tree_view_op/row_store.h"

#include <memory>
#include <unordered_map>

#include "base/glib_owners.h"
#include "base/shown_text.h"
#include "tree_view_op/toolkit_owners.h"

namespace relay_hub {
namespace {

constexpr char kNameBytes[] = "relay-hub-name-bytes";

// The names that cannot stand in the text column, by row. A row keeps its identity for its life.
struct NameBytes {
    struct Entry {
        std::string shown;
        std::string bytes;
    };
    std::unordered_map<gpointer, Entry> rows;
};

NameBytes* name_bytes_of(gpointer store) {
    return static_cast<NameBytes*>(g_object_get_data(G_OBJECT(store), kNameBytes));
}

void forget_with_last_row(GtkTreeModel* model, GtkTreePath*, gpointer) {
    if (gtk_tree_model_iter_n_children(model, nullptr) == 0)
        name_bytes_of(model)->rows.clear();
}

NameBytes* name_bytes_for_writing(GtkListStore* store) {
    NameBytes* kept = name_bytes_of(store);
    if (kept != nullptr)
        return kept;
    kept = attach(store, kNameBytes, std::make_unique<NameBytes>());
    g_signal_connect(store, "row-deleted", G_CALLBACK(forget_with_last_row), nullptr);
    return kept;
}

std::string cell_text(const char* bytes) {
    return bytes != nullptr ? shown_line(bytes, kCellCharacters) : "";
}

void keep_name_bytes(GtkListStore* store, const GtkTreeIter& iter, const char* bytes, std::string shown) {
    name_bytes_for_writing(store)->rows[iter.user_data] = {std::move(shown), bytes};
}

}  // namespace

void show_store(GtkTreeView* tree_view, GtkListStore* store) {
    gtk_tree_view_set_model(tree_view, GTK_TREE_MODEL(store));
    gtk_tree_view_set_search_column(tree_view, kColumnName);
}

GtkListStore* list_store_of(GtkWidget* tree_view) {
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(tree_view));
    return model != nullptr ? GTK_LIST_STORE(model) : nullptr;
}

namespace {

// A row's columns as the store takes them, made ready once. The texts are only borrowed for an insertion.
// What is empty is left out: four of a local row's eleven columns, an eighth of the time.
class RowValues {
  public:
    RowValues() {
        for (GValue& value : values_)
            g_value_init(&value, G_TYPE_STRING);
    }
    void add(int column, const char* text) {
        if (text == nullptr || *text == '\0')
            return;
        columns_[count_] = column;
        g_value_set_static_string(&values_[count_++], text);
    }
    void insert(GtkListStore* store, GtkTreeIter* iter, int position) {
        gtk_list_store_insert_with_valuesv(store, iter, position, columns_.data(), values_.data(),
                                           static_cast<int>(count_));
        count_ = 0;
    }

  private:
    std::size_t count_ = 0;
    std::array<int, kColumnCount> columns_{};
    std::array<GValue, kColumnCount> values_{};
};

}  // namespace

void insert_row(GtkListStore* store, int position, const char* const* texts) {
    static RowValues values;
    const char* name = texts[kColumnName];
    std::string shown = cell_text(name);
    const std::string size = cell_text(texts[kColumnSize]);
    for (int column = 0; column < kColumnCount; ++column)
        values.add(column, column == kColumnName   ? shown.c_str()
                           : column == kColumnSize ? size.c_str()
                                                   : texts[column]);
    GtkTreeIter iter;
    values.insert(store, &iter, position);
    if (name != nullptr && shown != name)
        keep_name_bytes(store, iter, name, std::move(shown));
}

void set_row_name(GtkListStore* store, GtkTreeIter* iter, const char* name) {
    std::string shown = shown_line(name, kCellCharacters);
    gtk_list_store_set(store, iter, kColumnName, shown.c_str(), -1);
    if (shown != name)
        keep_name_bytes(store, *iter, name, std::move(shown));
}

const RowTexts& parent_row() {
    static constexpr RowTexts kRow = {"gtk-directory", "..", "", nullptr, "", "", "",
                                      kKindParent,     "",   "", ""};
    return kRow;
}

std::string row_text(GtkTreeModel* model, GtkTreeIter* iter, int column) {
    char* text = nullptr;
    gtk_tree_model_get(model, iter, column, &text, -1);
    const GText owner(text);
    return text != nullptr ? text : "";
}

std::optional<GtkTreeIter> find_row_named(GtkTreeModel* model, const std::string& name) {
    return find_row(model, [&](GtkTreeIter* iter) { return row_name(model, iter) == name; });
}

std::optional<GtkTreeIter> find_parent_row(GtkTreeModel* model) {
    return find_row(model,
                    [&](GtkTreeIter* iter) { return row_text(model, iter, kColumnKind) == kKindParent; });
}

std::string row_name(GtkTreeModel* model, GtkTreeIter* iter) {
    std::string shown = row_text(model, iter, kColumnName);
    const NameBytes* kept = name_bytes_of(model);
    if (kept == nullptr)
        return shown;
    const auto found = kept->rows.find(iter->user_data);
    return found != kept->rows.end() && found->second.shown == shown ? found->second.bytes : shown;
}

}  // namespace relay_hub
