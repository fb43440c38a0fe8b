#include "engine/folder/folder_sink.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/file_attributes.h"

namespace relay_hub::engine {

int apply_attributes(int fd, const Entry& entry) {
    const int error = entry.has_mode ? apply_mode(fd, entry.mode, entry.owner) : 0;
    return error != 0 || !entry.has_times ? error : apply_times(fd, entry.accessed, entry.modified);
}

FolderSink::FolderSink(SharedFolder folder, std::string name, const Entry& entry, bool replace)
    : folder_(std::move(folder)), name_(std::move(name)), entry_(entry), replace_(replace) {}

int FolderSink::create() {
    file_ = replace_ ? TemporaryFile::create(folder_->get()) : TemporaryFile::create_nameless(folder_->get());
    return file_.valid() ? 0 : errno;
}

Error FolderSink::write(const char* data, std::size_t size) {
    return write_all(file_.fd(), data, size);
}

void FolderSink::start_flush() {
    // Only a hint: the sync before the final name is what counts.
    (void)sync_file_range(file_.fd(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

Error FolderSink::finish(const FileSource& source) {
    if (entry_.has_mode && source.descriptor() >= 0)
        entry_.mode =
            copy_extended_attributes(source.descriptor(), entry_.mode, file_.fd(), TargetAge::fresh);
    return apply_attributes(file_.fd(), entry_);
}

int FolderSink::sync() {
    return fsync(file_.fd()) == 0 ? 0 : errno;
}

int FolderSink::sync_file_system() {
    return syncfs(file_.fd()) == 0 ? 0 : errno;
}

int FolderSink::publish() {
    const int error = replace_ ? file_.replace(name_) : file_.take_free_name(name_);
    return error != 0 ? error : file_.close();
}

}  // namespace relay_hub::engine
