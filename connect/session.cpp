#include "connect/session.h"

#include <gtk/gtk.h>

#include <csignal>
#include <cstdio>

#include "base/shown_text.h"
#include "connect/ssh_config_hosts.h"

namespace relay_hub::connect {
namespace {

constexpr int kFailed = 1;

}  // namespace

Session::Session(const Programs& programs)
    : programs_(programs),
      history_(computer_history_path()),
      dialog_({[this](const SshAddress& address) { connect(address); },
               [this](const std::string& folder) { serve(folder); }, [this] { cancel(); }}),
      engine_(programs.engine, {[this](const EngineStatus& status) { on_status(status); },
                                [this](const std::string& last_words) { on_engine_end(last_words); }}) {
    const std::string home = g_get_home_dir();
    dialog_.computers().add_used(history_.computers());
    dialog_.computers().add_configured(ssh_config_hosts(home + "/.ssh/config", home));
}

void Session::ask() {
    if (!history_.computers().empty())
        dialog_.set_address(history_.computers().front());
    dialog_.show();
    announced_ = AnnouncedComputers::listen(
        {[this](const std::string& name, const SshAddress& address) {
             dialog_.computers().show_announced(name, address);
         },
         [this](const std::string& name) { dialog_.computers().remove_announced(name); }});
}

void Session::ask_for_folder() {
    dialog_.ask_for_folder();
    if (state_ == State::asking)
        cancel();
}

void Session::connect(const SshAddress& address) {
    address_ = address;
    dialog_.set_address(address);
    dialog_.show();
    begin({false, address.whole()}, address.host);
}

void Session::serve(const std::string& folder) {
    address_ = {};
    begin({true, folder}, folder);
}

void Session::begin(const EngineTarget& target, const std::string& shown_name) {
    shown_name_ = shown_name;
    failure_ = {};
    state_ = State::connecting;
    dialog_.show_connecting(shown_name);
    if (const std::string why = engine_.start(target); !why.empty())
        tell_failure(Failure::other, why);
}

void Session::cancel() {
    if (state_ == State::connecting) {
        state_ = State::cancelling;
        engine_.end();
    } else if (state_ == State::asking) {
        state_ = State::ending;
        quit_when_all_have_gone();
    }
}

void Session::on_status(const EngineStatus& status) {
    if (status.event == EngineEvent::ssh)
        dialog_.add_ssh_words(status.text);
    else if (status.event == EngineEvent::failed)
        failure_ = status;
    else if (status.event == EngineEvent::connected && state_ == State::connecting)
        on_connected();
}

void Session::on_connected() {
    if (!address_.host.empty()) {
        if (const std::string why = history_.remember(address_); !why.empty())
            (void)std::fprintf(stderr, "relay-hub-connect: %s\n", why.c_str());
    }
    ProgramToStart window;
    window.words = {programs_.window};
    window.signal_when_orphaned = SIGINT;  // SIGTERM does not end the window
    const std::string why = window_.start(window, [this](int status) { on_window_end(status); });
    if (!why.empty()) {
        failure_ = {EngineEvent::failed, Failure::other, why};
        engine_.end();
        return;
    }
    state_ = State::window_is_open;
    announced_.reset();
    dialog_.hide();
}

void Session::on_engine_end(const std::string& last_words) {
    if (state_ == State::connecting) {
        const bool has_reason = failure_.event == EngineEvent::failed && !failure_.text.empty();
        tell_failure(failure_.failure, has_reason ? failure_.text : last_words);
    } else if (state_ == State::cancelling) {
        state_ = State::asking;
        dialog_.show_ready();
    }
    quit_when_all_have_gone();
}

void Session::tell_failure(Failure failure, const std::string& text) {
    state_ = State::asking;
    exit_status_ = kFailed;
    (void)std::fprintf(stderr, "relay-hub-connect: %s: %s\n", shown_name_.c_str(), text.c_str());
    std::string message = what_to_do(failure, shown_line(shown_name_, kCellCharacters), text);
    if (failure == Failure::other && !text.empty())
        message += "\n" + shown_message(text);
    dialog_.show();
    dialog_.show_failure(message);
}

void Session::on_window_end(int wait_status) {
    exit_status_ = exit_status_of(wait_status);
    state_ = State::ending;
    engine_.end();
    quit_when_all_have_gone();
}

void Session::stop() {
    state_ = State::ending;
    dialog_.hide();
    window_.send_signal(SIGINT);
    engine_.end();
    quit_when_all_have_gone();
}

bool Session::is_over() const {
    return state_ == State::ending && !engine_.running() && !window_.running();
}

void Session::quit_when_all_have_gone() {
    if (is_over() && gtk_main_level() > 0)
        gtk_main_quit();
}

int Session::run() {
    if (!is_over())
        gtk_main();
    return exit_status_;
}

}  // namespace relay_hub::connect
