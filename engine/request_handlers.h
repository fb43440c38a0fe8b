#pragma once
// Answers the requests of the front end. One request at a time, on one thread; front end and link state
// must outlive it.
#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "engine/copy_batch.h"
#include "engine/file_list.h"
#include "engine/front_end.h"
#include "engine/names.h"
#include "engine/remote_file_system.h"

class CZEVXML;

namespace relay_hub::engine {

struct Reply {
    std::string text;      // empty: no answer is sent
    bool is_list = false;  // a list of drives, places or files
    bool ends_engine = false;
};

class RequestHandlers {
  public:
    // remote is what the front end calls the remote computer, local this machine as the user sees it.
    RequestHandlers(std::shared_ptr<RemoteFileSystem> remote, std::shared_ptr<RemoteFileSystem> local,
                    FrontEnd& front_end, const std::atomic<bool>& remote_online,
                    HiddenFiles hidden = HiddenFiles::kLeftOut);
    // message: one document, without the marker. Out of memory is a failure of the request.
    Reply handle(const std::string& message);
    // Whether its reply is known without a look at any file, and so cannot keep anybody waiting.
    static bool is_answered_at_once(const std::string& message);
    // Any thread. What waits in a tree ends with ECANCELED, and so does every later operation.
    void interrupt() {
        remote_->interrupt();
        local_->interrupt();
    }

  private:
    struct Handler;
    Reply answer(const std::string& message);
    static const Handler* find_handler(const std::string& command);

    std::string list_files(CZEVXML& request);
    std::string list_drives();
    std::string list_special_paths();
    std::string rename(CZEVXML& request);
    std::string move_to_trash(CZEVXML& request);
    std::string create_folder(CZEVXML& request);
    [[nodiscard]] std::string connection_status() const;
    [[nodiscard]] std::string remote_online() const;
    [[nodiscard]] const char* yes_if_online() const;
    static std::string heartbeat();

    std::string remove(CZEVXML& request, EntryKind kind);
    void tell_what_is_missing(const std::string& folder, const FileList& list);
    std::string copy(CZEVXML& request, bool to_remote);
    std::string run_copy(CZEVXML& request, CopyBatch& batch, const std::vector<CopyItem>& items);
    // The reason of a failure; nothing for a success.
    std::optional<std::string> failure_of_copy(const CopyBatch& batch);
    // The item that a path known from hex alone means: one whose hex is the same.
    std::string known_path(const std::string& path);
    // The same of one name; nothing when the folder holds none.
    std::optional<std::string> known_name(const std::string& folder, const std::string& name);
    [[nodiscard]] Style style() const { return remote_->style(); }
    [[nodiscard]] CopySide remote_side() const;
    [[nodiscard]] CopySide local_side() const;

    const std::shared_ptr<RemoteFileSystem> remote_;
    const std::shared_ptr<RemoteFileSystem> local_;
    FrontEnd& front_end_;
    const std::atomic<bool>& remote_online_;
    const HiddenFiles hidden_;
};

// The longest answer that the front end takes.
inline constexpr std::size_t kLongestAnswer = 10485760;

}  // namespace relay_hub::engine
