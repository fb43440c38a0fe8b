#pragma once
// The list of computers to choose from: used before, named by the ssh configuration, announced. Window's
// thread.
#include <gtk/gtk.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/glib_owners.h"
#include "base/non_copyable.h"
#include "connect/typed_address.h"

namespace relay_hub::connect {

class ComputerList : NonCopyable {
  public:
    // activated: a row was double clicked, or Return pressed in it; its address has been chosen before.
    using Chosen = std::function<void(const SshAddress&)>;
    ComputerList(Chosen chosen, std::function<void()> activated);
    ~ComputerList();

    // The list within its scrollbars; its parent owns it.
    [[nodiscard]] GtkWidget* widget() const { return scrolled_; }
    // The list itself, for a label's mnemonic and for the focus.
    [[nodiscard]] GtkWidget* view() const { return view_; }

    void add_used(const std::vector<SshAddress>& computers);
    void add_configured(const std::vector<std::string>& hosts);
    // name: that of the announcement, by which it is taken away again. Replaces the address of the same name.
    void show_announced(const std::string& name, const SshAddress& address);
    void remove_announced(const std::string& name);

  private:
    enum Column { kName, kSource, kAddress, kAnnouncedAs, kColumns };
    static void on_selection(GtkTreeSelection*, gpointer self);
    static void on_row(GtkTreeView*, GtkTreePath*, GtkTreeViewColumn*, gpointer self);
    void choose(GtkTreeIter* iter) const;
    [[nodiscard]] std::string text_at(GtkTreeIter* iter, Column column) const;
    [[nodiscard]] bool find_announced(const std::string& name, GtkTreeIter* iter) const;
    void append(const SshAddress& address, const char* source_id, const std::string& announced_as);
    void append_column(Column column, bool grows);

    Chosen chosen_;
    std::function<void()> activated_;
    std::set<std::string> used_;
    GObjectPtr<GtkListStore> store_;
    GtkWidget* view_;
    GtkWidget* scrolled_;
};

}  // namespace relay_hub::connect
