#include "ui/window_icon.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

GObjectPtr<GdkPixbuf> picture_of(const std::vector<guchar>& content) {
    const GObjectPtr<GdkPixbufLoader> loader(gdk_pixbuf_loader_new());
    const bool written =
        gdk_pixbuf_loader_write(loader.get(), content.data(), content.size(), nullptr) != FALSE;
    const bool closed = gdk_pixbuf_loader_close(loader.get(), nullptr) != FALSE;
    GdkPixbuf* picture = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (!written || !closed || picture == nullptr)
        return nullptr;
    return GObjectPtr<GdkPixbuf>(static_cast<GdkPixbuf*>(g_object_ref(picture)));
}

// An icon file: a head, whose last two bytes count the entries; for each one a record, which ends with its
// picture's size and place; the pictures. All numbers low byte first.
constexpr std::size_t kHeadSize = 6;
constexpr std::size_t kRecordSize = 16;
constexpr std::size_t kSizeInRecord = 8;
constexpr std::size_t kPlaceInRecord = 12;

std::size_t number_at(const std::vector<guchar>& content, std::size_t place, std::size_t bytes) {
    std::size_t number = 0;
    for (std::size_t i = bytes; i > 0; --i)
        number = number << 8U | content[place + i - 1];
    return number;
}

// An icon file with one entry of content's alone: the loader gives only one picture of a file. Empty when the
// entry lies about its place.
std::vector<guchar> single_icon(const std::vector<guchar>& content, std::size_t entry) {
    const std::size_t record = kHeadSize + entry * kRecordSize;
    if (record + kRecordSize > content.size())
        return {};
    const std::size_t size = number_at(content, record + kSizeInRecord, 4);
    const std::size_t place = number_at(content, record + kPlaceInRecord, 4);
    if (place > content.size() || size > content.size() - place)
        return {};
    std::vector<guchar> icon{0, 0, 1, 0, 1, 0};
    const auto begin = content.begin();
    const auto append = [&](std::size_t from, std::size_t count) {
        icon.insert(icon.end(), begin + static_cast<std::ptrdiff_t>(from),
                    begin + static_cast<std::ptrdiff_t>(from + count));
    };
    append(record, kPlaceInRecord);
    icon.insert(icon.end(), {kHeadSize + kRecordSize, 0, 0, 0});
    append(place, size);
    return icon;
}

}  // namespace

std::vector<GObjectPtr<GdkPixbuf>> load_window_icons(const char* path) {
    std::vector<GObjectPtr<GdkPixbuf>> pictures;
    const FileDescriptor file = open_trusted(path);
    if (!file)
        return pictures;
    std::vector<guchar> content(static_cast<std::size_t>(kLargestIcon));
    content.resize(read_at_most(file.get(), content.data(), content.size()));
    const bool is_icon = content.size() > kHeadSize && number_at(content, 0, 4) == 0x10000;
    const std::size_t count = is_icon ? number_at(content, 4, 2) : 1;
    for (std::size_t entry = 0; entry < count; ++entry) {
        auto picture = picture_of(is_icon ? single_icon(content, entry) : content);
        if (picture == nullptr)
            break;
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

}  // namespace relay_hub
