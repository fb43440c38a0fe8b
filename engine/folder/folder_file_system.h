#pragma once
// A folder of this machine as a tree of files. With Reach::kBeneath no path of a request leaves it; the same
// class with "/" and Reach::kWholeMachine is the local side of a copy.
#include "engine/folder/tree_root.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class FolderFileSystem : public RemoteFileSystem {
  public:
    FolderFileSystem(FileDescriptor root, Reach reach) : tree_(std::move(root), reach) {}
    // Null, with errno set, when folder cannot be opened as a folder.
    static std::unique_ptr<FolderFileSystem> open(const std::string& folder, Reach reach);

    void keep_folder_open(bool keep) override { tree_.keep_parent(keep); }
    int list(const std::string& folder, std::vector<Entry>& entries) override;
    int stat(const std::string& path, Entry& entry) override;
    int read_link(const std::string& path, std::string& target) override;
    int folder_chain(const std::string& folder, std::vector<FileIdentity>& chain) override;
    int open_source(const std::string& path, std::unique_ptr<FileSource>& source) override;
    int open_sink(const std::string& path, bool replace, std::unique_ptr<FileSink>& sink) override;
    std::vector<int> commit(std::vector<std::unique_ptr<FileSink>>& sinks) override;
    int settle(const std::vector<std::string>& folders) override;
    void sweep(const std::string& folder) override;
    int make_folder(const std::string& path, mode_t mode) override;
    int make_link(const std::string& path, const std::string& target, const Entry& entry,
                  bool replace) override;
    int set_attributes(const std::string& path, const Entry& entry) override;
    int rename(const std::string& from, const std::string& to) override;
    int remove(const std::string& path, EntryKind kind, std::string& failed) override;
    int move_to_trash(const std::string& path) override;

  private:
    bool leads_to_folder(const std::string& path) const;

    TreeRoot tree_;
};

}  // namespace relay_hub::engine
