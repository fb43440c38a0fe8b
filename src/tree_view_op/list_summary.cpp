#include "tree_view_op/list_summary.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <memory>

#include "base/glib_owners.h"
#include "base/main_loop_source.h"
#include "base/size_text.h"
#include "base/translated_text.h"
#include "tree_view_op/row_store.h"
#include "tree_view_op/selection.h"
#include "tree_view_op/toolkit_owners.h"

namespace relay_hub {
namespace {

constexpr guint kUpdateDelay = 100;
constexpr char kSummary[] = "relay-hub-summary";
constexpr char kSizes[] = "relay-hub-sizes";

struct Summary {
    GObjectPtr<GtkLabel> label;
    GtkTreeView* tree_view = nullptr;
    std::optional<std::uint64_t> free_bytes;
    int items = 0;
    bool rows_changed = true;
    MainLoopSource update;
};

Summary* summary_of(gpointer tree_view) {
    return static_cast<Summary*>(g_object_get_data(G_OBJECT(tree_view), kSummary));
}

// All rows but the one that leads to the parent folder.
int count_items(GtkTreeModel* model) {
    const int rows = model != nullptr ? gtk_tree_model_iter_n_children(model, nullptr) : 0;
    return find_parent_row(model) ? rows - 1 : rows;
}

// Of a file.
std::uint64_t bytes_of(ListedSizes* sizes, GtkTreeModel* model, GtkTreeIter* iter) {
    const std::string size = row_text(model, iter, kColumnSizeValue);
    if (sizes != nullptr && size.empty())
        return sizes->of(row_name(model, iter));
    std::uint64_t bytes = 0;
    (void)std::from_chars(size.data(), size.data() + size.size(), bytes);
    return bytes;
}

std::string text_of(const Summary& summary) {
    auto* const sizes = static_cast<ListedSizes*>(g_object_get_data(G_OBJECT(summary.tree_view), kSizes));
    int items = 0;
    std::uint64_t bytes = 0;
    for_each_selected(summary.tree_view, [&](GtkTreeModel* model, GtkTreeIter* iter) {
        const std::string kind = row_text(model, iter, kColumnKind);
        items += kind != kKindParent ? 1 : 0;
        bytes += kind == kKindFile ? bytes_of(sizes, model, iter) : 0;
    });
    std::string text = fill_translated("IDS_SUMMARY_ITEMS", {std::to_string(summary.items)});
    if (items > 0)
        text += kBetweenFigures + fill_translated("IDS_SUMMARY_SELECTED", {std::to_string(items)});
    if (bytes > 0)
        text += " (" + size_text(bytes) + ")";
    if (summary.free_bytes)
        text += kBetweenFigures + fill_translated("IDS_SUMMARY_FREE", {size_text(*summary.free_bytes)});
    return text;
}

gboolean update(gpointer data) {
    auto* summary = static_cast<Summary*>(data);
    summary->update.forget();
    if (std::exchange(summary->rows_changed, false))
        summary->items = count_items(gtk_tree_view_get_model(summary->tree_view));
    gtk_label_set_text(summary->label.get(), text_of(*summary).c_str());
    return G_SOURCE_REMOVE;
}

// Where a narrow pane cuts off its end. A tooltip text of its own would be the label's spoken description
// too, each of whose copies the accessibility module leaks.
gboolean show_whole_line(GtkWidget* label, gint, gint, gboolean, GtkTooltip* tooltip, gpointer) {
    gtk_tooltip_set_text(tooltip, gtk_label_get_text(GTK_LABEL(label)));
    return pango_layout_is_ellipsized(gtk_label_get_layout(GTK_LABEL(label)));
}

void update_soon(Summary* summary) {
    if (!summary->update)
        summary->update.reset(gdk_threads_add_timeout(kUpdateDelay, update, summary));
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
    gtk_widget_set_has_tooltip(label, TRUE);
    g_signal_connect(label, "query-tooltip", G_CALLBACK(show_whole_line), nullptr);
    summary->label.reset(GTK_LABEL(g_object_ref_sink(label)));
    summary->tree_view = GTK_TREE_VIEW(tree_view);
    g_signal_connect(tree_view, "notify::model", G_CALLBACK(on_rows), summary.get());
    g_signal_connect(gtk_tree_view_get_selection(GTK_TREE_VIEW(tree_view)), "changed",
                     G_CALLBACK(on_selection), summary.get());
    attach(tree_view, kSummary, std::move(summary));
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
    attach(tree_view, kSizes, std::make_unique<ListedSizes>(std::move(*this)));
}

std::uint64_t ListedSizes::of(const std::string& name) {
    if (!std::exchange(sorted_, true))
        std::sort(sizes_.begin(), sizes_.end());
    const std::size_t hash = std::hash<std::string>()(name);
    const auto found = std::lower_bound(sizes_.begin(), sizes_.end(), std::pair(hash, std::uint64_t{0}));
    return found != sizes_.end() && found->first == hash ? found->second : 0;
}

}  // namespace relay_hub
