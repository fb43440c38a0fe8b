#include "connect/engine_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include "base/diagnostics.h"

namespace relay_hub::connect {
namespace {

// The engine itself promises two seconds.
constexpr guint kPatience = 2500;

}  // namespace

EngineProcess::EngineProcess(std::string program, Listener listener)
    : program_(std::move(program)), listener_(std::move(listener)) {}

std::string EngineProcess::start(const EngineTarget& target) {
    Pipe status;
    Pipe errors;
    if (!open_pipe(status) || !open_pipe(errors))
        return error_text(errno);
    ProgramToStart program;
    program.words = {program_,      target.is_folder ? "--serve" : "--connect", target.what,
                     "--status-fd", std::to_string(kStatusDescriptor),          "--quiet"};
    program.signal_when_orphaned = SIGTERM;
    program.status_descriptor = status.write_end.get();
    program.error_descriptor = errors.write_end.get();
    last_words_.clear();
    std::string why = child_.start(program, [this](int) { on_exit(); });
    if (!why.empty())
        return why;
    statuses_ = std::make_unique<LineReader>(std::move(status.read_end), [this](const std::string& line) {
        listener_.on_status(parse_status(line));
    });
    errors_ = std::make_unique<LineReader>(std::move(errors.read_end),
                                           [this](const std::string& line) { take_error_line(line); });
    return why;
}

void EngineProcess::take_error_line(const std::string& line) {
    (void)std::fprintf(stderr, "%s\n", line.c_str());
    if (!line.empty())
        last_words_ = line;
}

void EngineProcess::end() {
    child_.send_signal(SIGTERM);
    if (running() && !patience_)
        patience_.reset(g_timeout_add(kPatience, on_too_long, this));
}

gboolean EngineProcess::on_too_long(gpointer self) {
    auto* engine = static_cast<EngineProcess*>(self);
    engine->patience_.forget();
    engine->child_.send_signal(SIGKILL);
    return G_SOURCE_REMOVE;
}

void EngineProcess::on_exit() {
    patience_.reset();
    // What it wrote before it ended may be read after that.
    statuses_->drain();
    errors_->drain();
    statuses_.reset();
    errors_.reset();
    listener_.on_end(last_words_);
}

}  // namespace relay_hub::connect
