#pragma once
// A folder of this machine as a tree of files. With Reach::kBeneath no path of a request leaves it; the same
// class with "/" and Reach::kWholeMachine is the local side of a copy.
#include <atomic>
#include <chrono>

#include "engine/folder/tree_root.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class FolderFileSystem : public RemoteFileSystem {
  public:
    FolderFileSystem(TreeRoot tree, Style style) : tree_(std::move(tree)), style_(style) {}
    // The same folder for another thread; never waits for the disk.
    [[nodiscard]] std::unique_ptr<FolderFileSystem> another() const {
        return std::make_unique<FolderFileSystem>(tree_.another(), style_);
    }
    // Null, with errno set, when folder cannot be opened as a folder.
    static std::unique_ptr<FolderFileSystem> open(const std::string& folder, Reach reach, Style style);

    void interrupt() override { interrupted_ = true; }
    void set_watch(std::function<bool()> goes_on) override { goes_on_ = std::move(goes_on); }
    [[nodiscard]] Style style() const override { return style_; }
    Error places(Places& places) override;
    Error free_space(const std::string& folder, std::uint64_t& bytes) override;
    [[nodiscard]] std::size_t most_waiting_files() const override;
    void keep_folder_open(bool keep) override { tree_.keep_folders(keep); }
    Error list(const std::string& folder, Listing& listing) override;
    Error stat(const std::string& path, Entry& entry) override;
    Error read_link(const std::string& path, std::string& target) override;
    Error folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) override;
    void read_ahead(std::span<const FileToRead> /*files*/) override {}
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
    bool leads_to_folder(const std::string& path) const;
    // Asks the watch now and then.
    bool stopped();
    // An entry of the open folder, whose path is folder.
    int look_at(int opened, const std::string& folder, const std::string& name, Entry& entry) const;

    TreeRoot tree_;
    Style style_;
    std::atomic<bool> interrupted_{false};
    std::function<bool()> goes_on_;
    std::chrono::steady_clock::time_point last_asked_;
};

}  // namespace relay_hub::engine
