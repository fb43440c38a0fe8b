#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "util/byte_copy.h"
#include "util/temporary_file.h"

namespace relay_hub {

CopyOutcome replace_file(const std::string& src, const std::string& dst, const CancelTest& cancel) {
    CopyOutcome outcome;
    const FileDescriptor source = open_source(src);
    if (!source) {
        outcome.error_number = errno;
        return outcome;
    }
    TemporaryFile part = TemporaryFile::beside(dst);
    if (!part.valid()) {
        outcome.error_number = errno;
        return outcome;
    }
    // Synced once it has its attributes.
    outcome = copy_content(source.get(), part.fd(), cancel, SyncTime::later);
    if (!outcome.complete())
        return outcome;
    // What a file system does not keep is told, and no reason to give up the content.
    (void)duplicate_file_mode(src, part.path());
    (void)duplicate_file_owner(src, part.path());
    outcome.error_number = fsync(part.fd()) == 0 ? part.flush() : errno;
    outcome.synced = true;
    if (outcome.error_number == 0)
        outcome.error_number = part.take_name(dst);
    return outcome;
}

int replace_link(const std::string& link_text, const std::string& dst) {
    const std::string part = temporary_path_beside(dst);
    if (symlink(link_text.c_str(), part.c_str()) != 0)
        return errno;
    if (rename(part.c_str(), dst.c_str()) == 0)
        return 0;
    const int rename_error = errno;
    unlink(part.c_str());
    return rename_error;
}

}  // namespace relay_hub
