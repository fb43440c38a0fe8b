#include "util/file_identity.h"

#include <fcntl.h>

#include "base/file_descriptor.h"

namespace relay_hub {
namespace {

constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

}  // namespace

bool is_same_entry(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool replaces_its_source(const std::string& src, const struct stat& source, const std::string& dst) {
    struct stat target {};
    if (lstat(dst.c_str(), &target) != 0)
        return false;
    if (is_same_entry(source, target))
        return true;
    struct stat linked {};
    return S_ISLNK(source.st_mode) && stat(src.c_str(), &linked) == 0 && is_same_entry(linked, target);
}

bool lies_within(const std::string& folder, const struct stat& outer) {
    FileDescriptor step(open(folder.c_str(), kFolderFlags));
    struct stat here {};
    if (!step || fstat(step.get(), &here) != 0)
        return false;
    while (!is_same_entry(here, outer)) {
        FileDescriptor parent(openat(step.get(), "..", kFolderFlags));
        struct stat above {};
        if (!parent || fstat(parent.get(), &above) != 0 || is_same_entry(here, above))
            return false;
        step = std::move(parent);
        here = above;
    }
    return true;
}

}  // namespace relay_hub
