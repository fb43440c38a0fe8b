#pragma once
// A file being written into a folder of this machine: a temporary file of the folder, without any name until
// it is whole where that can be. Used by FolderFileSystem alone.
#include <string>

#include "base/temporary_file.h"
#include "engine/folder/tree_root.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class FolderSink : public FileSink {
  public:
    FolderSink(SharedFolder folder, std::string name, const Entry& entry, bool replace);

    // Creates the file, 0600.
    int create();
    Error write(const char* data, std::size_t size) override;
    [[nodiscard]] int descriptor() const override { return file_.fd(); }
    void start_flush() override;
    Error finish(const FileSource& source) override;

    // Content to the disk.
    int sync();
    // The final name, and the descriptor closed. Only after a sync.
    Error publish();

  private:
    SharedFolder folder_;
    std::string name_;
    Entry entry_;
    bool replace_;
    TemporaryFile file_;
    Error refused_;  // of mode and times
};

// Mode and times of entry on an open file or folder.
Error apply_attributes(int fd, const Entry& entry);

}  // namespace relay_hub::engine
