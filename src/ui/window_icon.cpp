#include "ui/window_icon.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "base/file_descriptor.h"

namespace relay_hub {
namespace {

constexpr off_t kLargestIcon = off_t{4} * 1024 * 1024;

// Nothing but a regular file, and nobody else's: a link, a FIFO or a device could mislead or hang us.
FileDescriptor open_trusted(const char* path) {
    FileDescriptor file(::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        (status.st_uid != ::getuid() && status.st_uid != 0) || status.st_size > kLargestIcon)
        return {};
    return file;
}

std::vector<guchar> read_at_most(int fd, std::size_t limit) {
    std::vector<guchar> content(limit);
    std::size_t size = 0;
    while (size < limit) {
        const ssize_t count = ::read(fd, content.data() + size, limit - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    content.resize(size);
    return content;
}

}  // namespace

GObjectPtr<GdkPixbuf> load_window_icon(const char* path) {
    const FileDescriptor file = open_trusted(path);
    if (!file)
        return nullptr;
    const std::vector<guchar> content = read_at_most(file.get(), static_cast<std::size_t>(kLargestIcon));
    const GObjectPtr<GdkPixbufLoader> loader(gdk_pixbuf_loader_new());
    const bool written =
        gdk_pixbuf_loader_write(loader.get(), content.data(), content.size(), nullptr) != FALSE;
    const bool closed = gdk_pixbuf_loader_close(loader.get(), nullptr) != FALSE;
    GdkPixbuf* picture = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (!written || !closed || picture == nullptr)
        return nullptr;
    return GObjectPtr<GdkPixbuf>(static_cast<GdkPixbuf*>(g_object_ref(picture)));
}

}  // namespace relay_hub
