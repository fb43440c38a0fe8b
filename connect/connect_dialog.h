#pragma once
// The window that asks which computer, shows what ssh says while connecting, and tells failures in place. It
// decides nothing. Window's thread.
#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>

#include "base/non_copyable.h"
#include "connect/computer_list.h"
#include "connect/typed_address.h"

namespace relay_hub::connect {

class ConnectDialog : NonCopyable {
  public:
    struct Actions {
        std::function<void(const SshAddress&)> connect;
        std::function<void(const std::string& folder)> serve;
        // Cancel, Escape or the window's close button; the dialog stays as it is.
        std::function<void()> cancel;
    };

    explicit ConnectDialog(Actions actions);
    ~ConnectDialog();

    [[nodiscard]] ComputerList& computers() { return *computers_; }
    void set_address(const SshAddress& address);
    void show();
    // Gives a question for a folder up, too.
    void hide();
    // Lets the user choose a folder of this computer, and serves it unless none was chosen.
    void ask_for_folder();

    // From here until show_failure() or show_ready() only Cancel can be pressed.
    void show_connecting(const std::string& computer);
    // The last of many lines are kept.
    void add_ssh_words(const std::string& line);
    // The user may try again; what ssh said stays readable.
    void show_failure(const std::string& text);
    // As at the start, without a failure to tell.
    void show_ready();

  private:
    static void on_response(GtkDialog*, gint response, gpointer self);
    void build_computers();
    void build_entries();
    void build_messages();
    void build_buttons();
    void connect_to_typed();
    void set_busy(bool busy);
    void say(const std::string& text);

    Actions actions_;
    GtkWidget* dialog_;
    GtkWidget* content_;
    std::unique_ptr<ComputerList> computers_;
    GtkWidget* chooser_ = nullptr;  // while it asks
    GtkWidget* choices_ = nullptr;  // what cannot be changed while connecting
    GtkWidget* address_ = nullptr;
    GtkWidget* folder_ = nullptr;
    GtkWidget* spinner_ = nullptr;
    GtkWidget* message_ = nullptr;
    GtkWidget* ssh_box_ = nullptr;
    GtkWidget* ssh_words_ = nullptr;
};

}  // namespace relay_hub::connect
