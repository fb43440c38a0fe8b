#pragma once
// One connection to an SFTP server with what the server said about itself: the requests by name. Each
// send_…() puts a request on its way, the take_…() of its kind waits for the answer; the others do both.
// Paths are the server's own, absolute ones. One thread at a time; the holder of a handle or a pending reply
// keeps the session too.
#include <memory>
#include <string>
#include <vector>

#include "engine/sftp/connection.h"

namespace relay_hub::engine::sftp {

struct ServerFacts {
    std::string home;          // absolute
    std::string first_folder;  // where the user wants to begin, absolute; empty for nowhere in particular
    bool has_drives = false;   // paths begin with "/C:"
    bool replaces_atomically = false;
    bool syncs = false;
    bool sets_attributes_of_links = false;
    bool tells_space = false;
    std::size_t longest_read = 32768;
    std::size_t longest_write = 32768;
    std::size_t most_handles = 64;
};

class Session {
  public:
    explicit Session(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}
    // The same connection for somebody else: interruption, which outlives the session, ends its waits.
    Session(const Session& other, Interruption& interruption)
        : connection_(other.connection_), interruption_(&interruption), facts_(other.facts_) {}
    // Once the connection is open: asks the server about itself. folder, where the user wants to begin (""
    // for nowhere), is looked up; ENOENT or ENOTDIR with a text when it is not there or none.
    Error learn_facts(const std::string& folder);

    [[nodiscard]] const ServerFacts& facts() const { return facts_; }
    [[nodiscard]] Connection& connection() { return *connection_; }

    PendingReply send_open(const std::string& path, std::uint32_t flags, const Attributes& attributes);
    PendingReply send_close(const std::string& handle);
    PendingReply send_read(const std::string& handle, std::uint64_t offset, std::size_t size);
    PendingReply send_write(const std::string& handle, std::uint64_t offset, std::string_view data);
    PendingReply send_sync(const std::string& handle);
    PendingReply send_open_attributes(const std::string& handle);
    PendingReply send_set_open_attributes(const std::string& handle, const Attributes& attributes);
    // Attributes of a link are its own, where the server can.
    PendingReply send_set_attributes(const std::string& path, const Attributes& attributes, bool of_link);
    PendingReply send_lstat(const std::string& path);
    PendingReply send_stat(const std::string& path);
    PendingReply send_open_folder(const std::string& path);
    PendingReply send_read_folder(const std::string& handle);
    PendingReply send_make_folder(const std::string& path, std::uint32_t mode);
    PendingReply send_remove(const std::string& path);
    PendingReply send_remove_folder(const std::string& path);
    // replace: takes the place of a file that is there; only where the server can. Without it, a taken name
    // is refused.
    PendingReply send_rename(const std::string& from, const std::string& to, bool replace);

    Error take_status(PendingReply& reply);
    // Of modes and times that were to be set: a refusal concerns them only.
    Error take_setting(PendingReply& reply);
    Error take_handle(PendingReply& reply, std::string& handle);
    // ENODATA at the end.
    Error take_data(PendingReply& reply, std::string& fields, std::string_view& data);
    Error take_attributes(PendingReply& reply, Attributes& attributes);
    Error take_names(PendingReply& reply, std::vector<NamedEntry>& names);

    // Anything, to a name that is free: EEXIST.
    Error rename_to_free(const std::string& from, const std::string& to);
    // EEXIST for a taken name.
    Error make_link(const std::string& path, const std::string& target);
    Error read_link(const std::string& path, std::string& target);
    Error real_path(const std::string& path, std::string& absolute);
    Error space(const std::string& path, FileSystemSpace& space);
    Error lstat(const std::string& path, Attributes& attributes);
    Error read_small_file(const std::string& path, std::size_t most, std::string& content);

    // A server's "failure" says nothing: why writing wanted bytes into the folder failed, as far as a look
    // can tell. Any other error stays as it is.
    Error explain(const Error& error, const std::string& folder, std::uint64_t wanted);

  private:
    Error take(PendingReply& reply, Reply& answer, PacketType wanted);
    Error malformed();
    void take_limits(PendingReply& reply);

    std::shared_ptr<Connection> connection_;
    Interruption* interruption_ = nullptr;
    ServerFacts facts_;
};

Error status_error(const Status& status);

}  // namespace relay_hub::engine::sftp
