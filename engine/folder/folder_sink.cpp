#include "engine/folder/folder_sink.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/file_attributes.h"

namespace relay_hub::engine {

Error apply_attributes(int fd, const Entry& entry) {
    const int of_mode = entry.has_mode ? apply_mode(fd, entry.mode, entry.owner) : 0;
    const int of_times = entry.has_times ? apply_times(fd, entry.accessed, entry.modified) : 0;
    Error error = of_mode != 0 && (of_times == 0 || is_refusal(of_times)) ? of_mode : of_times;
    error.attributes_only = is_refusal(error.number);
    return error;
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
    refused_ = apply_attributes(file_.fd(), entry_);
    return refused_.attributes_only ? Error() : refused_;
}

int FolderSink::sync() {
    return fsync(file_.fd()) == 0 ? 0 : errno;
}

Error FolderSink::publish() {
    int error = replace_ ? file_.replace(name_) : file_.take_free_name(name_);
    if (error == 0)
        error = file_.close();
    return error != 0 ? Error(error) : refused_;
}

}  // namespace relay_hub::engine
