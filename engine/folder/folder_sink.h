#pragma once
// A file being written into a folder of this machine. A new one has no name until it is whole, where the file
// system can do that; one that replaces another has a temporary name that a later run recognises.
// Used by FolderFileSystem alone.
#include <string>

#include "base/file_descriptor.h"
#include "engine/folder/tree_root.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class FolderSink : public FileSink {
  public:
    FolderSink(SharedFolder folder, std::string name, const Entry& entry, bool replace);
    ~FolderSink() override;

    // Creates the file, 0600.
    int create();
    Error write(const char* data, std::size_t size) override;
    [[nodiscard]] int descriptor() const override { return file_.get(); }
    void start_flush() override;
    Error finish(const FileSource& source) override;

    // Content to the disk.
    int sync();
    // Content of every file of the file system to the disk.
    int sync_file_system();
    // The final name, and the descriptor closed. Only after a sync.
    int publish();

  private:
    bool create_nameless();
    // Locked, so that no sweep takes it for a left-over.
    int create_temporary();
    int take_free_name();
    // For a file system that makes files without a name but cannot give them one.
    int move_to_temporary();

    SharedFolder folder_;
    std::string name_;
    Entry entry_;
    std::string temporary_;  // empty for a file without a name
    bool replace_;
    FileDescriptor file_;
};

// A fresh temporary name, and whether a name is one.
std::string temporary_name();
bool is_temporary_name(const std::string& name);
// Removes temporary files in folder that no running process writes.
void sweep_temporary_files(int folder, const std::vector<std::string>& names);
// Renames without ever taking the place of another file. 0 or errno, EEXIST when there is one.
int rename_to_free_name(int from_folder, const std::string& from, int to_folder, const std::string& to);
// Mode and times of entry on an open file or folder.
int apply_attributes(int fd, const Entry& entry);

}  // namespace relay_hub::engine
