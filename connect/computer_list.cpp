#include "connect/computer_list.h"

#include <utility>

#include "base/shown_text.h"
#include "base/translated_text.h"

namespace relay_hub::connect {

ComputerList::ComputerList(Chosen chosen, std::function<void()> activated)
    : chosen_(std::move(chosen)),
      activated_(std::move(activated)),
      store_(gtk_list_store_new(kColumns, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING)),
      view_(gtk_tree_view_new_with_model(GTK_TREE_MODEL(store_.get()))),
      scrolled_(gtk_scrolled_window_new(nullptr, nullptr)) {
    gtk_tree_view_set_headers_visible(GTK_TREE_VIEW(view_), FALSE);
    append_column(kName, true);
    append_column(kSource, false);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled_), GTK_POLICY_AUTOMATIC,
                                   GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(scrolled_), GTK_SHADOW_IN);
    gtk_container_add(GTK_CONTAINER(scrolled_), view_);
    g_signal_connect(gtk_tree_view_get_selection(GTK_TREE_VIEW(view_)), "changed", G_CALLBACK(on_selection),
                     this);
    g_signal_connect(view_, "row-activated", G_CALLBACK(on_row), this);
}

ComputerList::~ComputerList() {
    g_signal_handlers_disconnect_by_data(gtk_tree_view_get_selection(GTK_TREE_VIEW(view_)), this);
    g_signal_handlers_disconnect_by_data(view_, this);
}

void ComputerList::append_column(Column column, bool grows) {
    GtkCellRenderer* text = gtk_cell_renderer_text_new();
    GtkTreeViewColumn* shown =
        gtk_tree_view_column_new_with_attributes(nullptr, text, "text", column, nullptr);
    g_object_set(text, "ellipsize", grows ? PANGO_ELLIPSIZE_MIDDLE : PANGO_ELLIPSIZE_NONE,
                 "single-paragraph-mode", TRUE, nullptr);
    gtk_tree_view_column_set_expand(shown, grows ? TRUE : FALSE);
    gtk_tree_view_append_column(GTK_TREE_VIEW(view_), shown);
}

std::string ComputerList::text_at(GtkTreeIter* iter, Column column) const {
    char* text = nullptr;
    gtk_tree_model_get(GTK_TREE_MODEL(store_.get()), iter, column, &text, -1);
    const GText owned(text);
    return text != nullptr ? text : "";
}

bool ComputerList::find_announced(const std::string& name, GtkTreeIter* iter) const {
    GtkTreeModel* model = GTK_TREE_MODEL(store_.get());
    for (bool more = gtk_tree_model_get_iter_first(model, iter) != FALSE; more;
         more = gtk_tree_model_iter_next(model, iter) != FALSE) {
        if (text_at(iter, kAnnouncedAs) == name)
            return true;
    }
    return false;
}

void ComputerList::append(const SshAddress& address, const char* source_id, const std::string& announced_as) {
    GtkTreeIter iter;
    gtk_list_store_insert_with_values(store_.get(), &iter, -1, kName, shown_text(address.computer()).c_str(),
                                      kSource, translated(source_id), kAddress, address.whole().c_str(),
                                      kAnnouncedAs, announced_as.c_str(), -1);
}

void ComputerList::add_used(const std::vector<SshAddress>& computers) {
    for (const SshAddress& address : computers) {
        used_.insert(address.computer());
        append(address, "IDS_CONNECT_USED_BEFORE", {});
    }
}

void ComputerList::add_configured(const std::vector<std::string>& hosts) {
    for (const std::string& host : hosts) {
        const auto address = parse_typed(host);
        if (address && !used_.contains(address->computer()))
            append(*address, "IDS_CONNECT_CONFIGURED", {});
    }
}

void ComputerList::show_announced(const std::string& name, const SshAddress& address) {
    GtkTreeIter iter;
    if (find_announced(name, &iter))
        gtk_list_store_set(store_.get(), &iter, kName, shown_text(address.computer()).c_str(), kAddress,
                           address.whole().c_str(), -1);
    else
        append(address, "IDS_CONNECT_ANNOUNCED", name);
}

void ComputerList::remove_announced(const std::string& name) {
    GtkTreeIter iter;
    if (find_announced(name, &iter))
        gtk_list_store_remove(store_.get(), &iter);
}

void ComputerList::choose(GtkTreeIter* iter) const {
    if (const auto address = parse_typed(text_at(iter, kAddress)))
        chosen_(*address);
}

void ComputerList::on_selection(GtkTreeSelection* selection, gpointer self) {
    GtkTreeIter iter;
    if (gtk_tree_selection_get_selected(selection, nullptr, &iter) != FALSE)
        static_cast<ComputerList*>(self)->choose(&iter);
}

void ComputerList::on_row(GtkTreeView* view, GtkTreePath* path, GtkTreeViewColumn*, gpointer self) {
    const auto* list = static_cast<ComputerList*>(self);
    GtkTreeIter iter;
    if (gtk_tree_model_get_iter(gtk_tree_view_get_model(view), &iter, path) == FALSE)
        return;
    list->choose(&iter);
    list->activated_();
}

}  // namespace relay_hub::connect
