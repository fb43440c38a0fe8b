#include "tree_view_op/list_summary.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <memory>

#include "base/size_text.h"
#include "base/translated_text.h"
#include "tree_view_op/row_store.h"
#include "tree_view_op/selection.h"

namespace relay_hub {
namespace {

constexpr guint kUpdateDelay = 100;
constexpr char kSummary[] = "relay-hub-summary";
constexpr char kSizes[] = "relay-hub-sizes";
constexpr char kBetween[] = " · ";

struct Summary {
    GtkLabel* label = nullptr;  // dies with the list's window
    GtkTreeView* tree_view = nullptr;
    std::optional<std::uint64_t> free_bytes;
    int items = 0;
    bool rows_changed = true;
    guint update = 0;
};

Summary* summary_of(gpointer tree_view) {
    return static_cast<Summary*>(g_object_get_data(G_OBJECT(tree_view), kSummary));
}

void free_summary(gpointer data) {
    const std::unique_ptr<Summary> summary(static_cast<Summary*>(data));
    if (summary->update != 0)
        g_source_remove(summary->update);
    g_object_unref(summary->label);
}

void free_sizes(gpointer data) {
    const std::unique_ptr<ListedSizes> owner(static_cast<ListedSizes*>(data));
}

// All rows but the one that leads to the parent folder.
int count_items(GtkTreeModel* model) {
    int items = 0;
    GtkTreeIter iter;
    for (gboolean more = model != nullptr && gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter)) {
        if (row_text(model, &iter, kColumnKind) == kKindParent)
            return gtk_tree_model_iter_n_children(model, nullptr) - 1;
        ++items;
    }
    return items;
}

struct SelectedRows {
    ListedSizes* sizes;
    int items = 0;
    std::uint64_t bytes = 0;
};

void add_selected(GtkTreeModel* model, GtkTreePath*, GtkTreeIter* iter, gpointer data) {
    auto* selected = static_cast<SelectedRows*>(data);
    const std::string kind = row_text(model, iter, kColumnKind);
    if (kind == kKindParent)
        return;
    ++selected->items;
    if (kind != kKindFile)
        return;
    const std::string size = row_text(model, iter, kColumnSizeValue);
    std::uint64_t bytes = 0;
    if (selected->sizes != nullptr && size.empty())
        bytes = selected->sizes->of(row_name(model, iter));
    else
        (void)std::from_chars(size.data(), size.data() + size.size(), bytes);
    selected->bytes += bytes;
}

std::string text_of(const Summary& summary) {
    SelectedRows selected{static_cast<ListedSizes*>(g_object_get_data(G_OBJECT(summary.tree_view), kSizes))};
    gtk_tree_selection_selected_foreach(gtk_tree_view_get_selection(summary.tree_view), add_selected,
                                        &selected);
    std::string text = fill_translated("IDS_SUMMARY_ITEMS", {std::to_string(summary.items)});
    if (selected.items > 0)
        text += kBetween + fill_translated("IDS_SUMMARY_SELECTED", {std::to_string(selected.items)});
    if (selected.bytes > 0)
        text += " (" + size_text(selected.bytes) + ")";
    if (summary.free_bytes)
        text += kBetween + fill_translated("IDS_SUMMARY_FREE", {size_text(*summary.free_bytes)});
    return text;
}

gboolean update(gpointer data) {
    auto* summary = static_cast<Summary*>(data);
    summary->update = 0;
    if (std::exchange(summary->rows_changed, false))
        summary->items = count_items(gtk_tree_view_get_model(summary->tree_view));
    gtk_label_set_text(summary->label, text_of(*summary).c_str());
    return G_SOURCE_REMOVE;
}

void update_soon(Summary* summary) {
    if (summary->update == 0)
        summary->update = gdk_threads_add_timeout(kUpdateDelay, update, summary);
}

void on_selection(GtkTreeSelection*, gpointer summary) {
    update_soon(static_cast<Summary*>(summary));
}

// A list that was filled is put on its view anew.
void on_rows(GObject*, GParamSpec*, gpointer data) {
    auto* summary = static_cast<Summary*>(data);
    summary->rows_changed = true;
    update_soon(summary);
}

}  // namespace

GtkWidget* new_list_summary(GtkWidget* tree_view) {
    auto summary = std::make_unique<Summary>();
    GtkWidget* label = gtk_label_new("");
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0.5);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    summary->label = GTK_LABEL(g_object_ref_sink(label));
    summary->tree_view = GTK_TREE_VIEW(tree_view);
    g_signal_connect(tree_view, "notify::model", G_CALLBACK(on_rows), summary.get());
    g_signal_connect(gtk_tree_view_get_selection(GTK_TREE_VIEW(tree_view)), "changed",
                     G_CALLBACK(on_selection), summary.get());
    g_object_set_data_full(G_OBJECT(tree_view), kSummary, summary.release(), free_summary);
    return label;
}

void count_rows_again(GtkWidget* tree_view) {
    if (Summary* summary = summary_of(tree_view))
        on_rows(nullptr, nullptr, summary);
}

void set_free_space(GtkWidget* tree_view, std::optional<std::uint64_t> bytes) {
    Summary* summary = summary_of(tree_view);
    if (summary == nullptr)
        return;
    summary->free_bytes = bytes;
    update_soon(summary);
}

void ListedSizes::add(const std::string& name, std::uint64_t size) {
    sizes_.emplace_back(std::hash<std::string>()(name), size);
}

void ListedSizes::give_to(GtkWidget* tree_view) && {
    auto kept = std::make_unique<ListedSizes>(std::move(*this));
    g_object_set_data_full(G_OBJECT(tree_view), kSizes, kept.release(), free_sizes);
}

std::uint64_t ListedSizes::of(const std::string& name) {
    if (!std::exchange(sorted_, true))
        std::sort(sizes_.begin(), sizes_.end());
    const std::size_t hash = std::hash<std::string>()(name);
    const auto found = std::lower_bound(sizes_.begin(), sizes_.end(), std::pair(hash, std::uint64_t{0}));
    return found != sizes_.end() && found->first == hash ? found->second : 0;
}

}  // namespace relay_hub
