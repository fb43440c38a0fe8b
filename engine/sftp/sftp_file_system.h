#pragma once
// Another computer's files behind SFTP as a tree of files. While there is no link every operation fails with
// ENOTCONN; what was opened over a link that is lost fails for good.
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "engine/remote_file_system.h"
#include "engine/sftp/session.h"
#include "engine/sftp/sftp_source.h"
#include "engine/sftp/write_pipeline.h"

namespace relay_hub::engine::sftp {

// How the paths of a server are written on the wire, whose own begin with drives or not.
Style style_of(bool has_drives, std::optional<Style> wished);

class SftpFileSystem : public RemoteFileSystem {
  public:
    using SessionSource = std::function<std::shared_ptr<Session>()>;

    // current_session: the link of the moment, null for none; called on any thread, and other trees may use
    // it as well. style: as the user wishes it, or as the server's paths are.
    SftpFileSystem(SessionSource current_session, std::optional<Style> style);

    void interrupt() override;
    void set_watch(std::function<bool()> goes_on) override;
    [[nodiscard]] Style style() const override;
    Error places(Places& places) override;
    Error free_space(const std::string& folder, std::uint64_t& bytes) override;
    [[nodiscard]] std::size_t most_waiting_files() const override;
    void keep_folder_open(bool /*keep*/) override {}
    Error list(const std::string& folder, Listing& listing) override;
    Error stat(const std::string& path, Entry& entry) override;
    Error read_link(const std::string& path, std::string& target) override;
    Error folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) override;
    void read_ahead(std::span<const FileToRead> files) override;
    Error open_source(const std::string& path, const Entry& entry,
                      std::unique_ptr<FileSource>& source) override;
    Error open_sink(const std::string& path, const Entry& entry, bool replace,
                    std::unique_ptr<FileSink>& sink) override;
    std::vector<Error> commit(std::vector<std::unique_ptr<FileSink>>& sinks, bool all) override;
    Error settle(const std::vector<std::string>& folders) override;
    [[nodiscard]] std::string part_name() override;
    void sweep(const std::string& folder) override;
    Error make_folder(const std::string& path, mode_t mode) override;
    Error make_link(const std::string& path, const std::string& target, const Entry& entry,
                    bool replace) override;
    std::vector<Error> set_attributes(std::span<const FolderAttributes> folders) override;
    Error rename(const std::string& from, const std::string& to) override;
    Error remove(const std::string& path, EntryKind kind, std::string& failed) override;
    Error move_to_trash(const std::string& path) override;

  private:
    struct Ahead {
        std::string path;
        std::uint64_t size = 0;
        std::unique_ptr<SftpSource> source;  // null: not asked for yet
    };

    // The link to work with; ECANCELED, ENOTCONN.
    Error begin(std::shared_ptr<Session>& session);
    void forget_listed();
    // Opens files ahead as far as there is room.
    void fetch_ahead(const std::shared_ptr<Session>& session);

    const SessionSource current_session_;
    const std::optional<Style> wished_style_;
    Interruption interruption_;

    WritePipeline pipeline_;
    std::deque<Ahead> ahead_;
    // What list() saw that one sweep of the same folder would look for.
    std::optional<std::string> listed_folder_;
    std::vector<std::string> listed_parts_;
};

}  // namespace relay_hub::engine::sftp
