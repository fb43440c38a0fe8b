#include "util/replace_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/file_attributes.h"
#include "base/temporary_file.h"

namespace relay_hub {
namespace {

// A folder and a name in it, so that the new entry and its temporary name stay in one folder.
struct Place {
    FileDescriptor folder;
    std::string name;
};

// folder is empty, with errno set, when it cannot be entered.
Place place_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    return {FileDescriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
            slash == std::string::npos ? path : path.substr(slash + 1)};
}

// A file takes the place of an empty folder, too.
int put_in_place(TemporaryFile& part, const Place& place) {
    const int error = part.replace(place.name);
    if (error == EISDIR && unlinkat(place.folder.get(), place.name.c_str(), AT_REMOVEDIR) == 0)
        return part.replace(place.name);
    return error;
}

}  // namespace

CopyOutcome replace_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                         const CopyWatch& watch) {
    const FileDescriptor source = open_source(src);
    struct stat record {};
    if (!source || fstat(source.get(), &record) != 0)
        return {.error_number = errno};
    const Place place = place_of(dst);
    if (!place.folder)
        return {.error_number = errno};
    TemporaryFile part = TemporaryFile::create(place.folder.get());
    if (!part.valid())
        return {.error_number = errno};
    // Synced once it has its attributes.
    CopyOutcome outcome = copy_content(source.get(), part.fd(), cancel, watch);
    if (!outcome.complete())
        return outcome;
    outcome.error_number = copy_attributes(source.get(), record, part.fd(), TargetAge::fresh);
    if (outcome.error_number == 0)
        outcome.error_number = fsync(part.fd()) == 0 ? part.flush() : errno;
    outcome.synced = true;
    if (outcome.error_number == 0)
        outcome.error_number = put_in_place(part, place);
    return outcome;
}

int put_link(const std::string& link_text, const struct stat& record, const std::string& dst, bool replace) {
    const Place place = place_of(dst);
    const timespec times[] = {record.st_atim, record.st_mtim};
    return place.folder ? place_link(place.folder.get(), place.name, link_text, replace, times) : errno;
}

}  // namespace relay_hub
