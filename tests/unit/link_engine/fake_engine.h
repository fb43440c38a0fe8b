#pragma once
// A link engine for tests: serves one command channel in a folder of its own and keeps the raw frames that
// it received; and the front end's listener, called as an engine calls it.
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "name_pipe/abandon.h"
#include "name_pipe/file_descriptor.h"
#include "name_pipe/name_pipe_base.h"

namespace relay_hub::test {

// A new folder under /tmp, removed with everything in it.
class SandboxFolder {
  public:
    SandboxFolder();
    SandboxFolder(const SandboxFolder&) = delete;
    SandboxFolder& operator=(const SandboxFolder&) = delete;
    ~SandboxFolder() { std::filesystem::remove_all(folder_); }
    [[nodiscard]] std::string path(const std::string& name) const { return folder_ + "/" + name; }

  private:
    std::string folder_ = "/tmp/relay-hub-test-XXXXXX";
};

// Waits until done() holds; false after ten seconds.
bool wait_for(const std::function<bool()>& done);

std::string frame_of(const std::string& body);
std::string command_body(const std::string& text);

class FakeEngine {
  public:
    // Gives the answer to a request's text; nullopt stays silent. Runs on the engine's thread.
    using Serve = std::function<std::optional<std::string>(const std::string& request)>;
    // The front end's command channel leads to this engine for the engine's life.
    explicit FakeEngine(Serve serve);
    FakeEngine(const FakeEngine&) = delete;
    FakeEngine& operator=(const FakeEngine&) = delete;
    ~FakeEngine();
    std::vector<std::string> frames();

  private:
    void run();

    SandboxFolder folder_;
    Serve serve_;
    FileDescriptor in_;
    FileDescriptor out_;
    AbandonToken stop_;
    std::mutex mutex_;
    std::vector<std::string> frames_;  // guarded by mutex_
    std::thread thread_;
};

// The front end's listener on a channel of its own, with ServiceProvider behind it.
class Listener {
  public:
    static constexpr unsigned int kAnswerSize = 4096;
    Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { service_.ExitListenService(); }
    // Sends one frame as an engine does, and returns the frame that comes back.
    [[nodiscard]] std::string exchange(const std::string& frame) const;
    // The text of the answer to a call-back.
    [[nodiscard]] std::string call_back(const std::string& text) const;

  private:
    SandboxFolder folder_;
    std::string base_;
    CNamePipeBase service_;
};

}  // namespace relay_hub::test
