#include "link_engine/request_items.h"

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "link_engine/Zev_link_op.h"
#include "link_engine/message_names.h"
#include "xml_doc/message_writer.h"

namespace relay_hub {
namespace {

constexpr int kDirectoryBit = 16;

struct Halves {
    int high;
    int low;
};

Halves halves(std::int64_t value) {
    return {static_cast<int>(value >> 32), static_cast<int>(value)};
}

// Engines expect local times split one bit lower than every other pair.
Halves local_time_halves(std::int64_t seconds) {
    return {static_cast<int>(seconds >> 31), static_cast<int>(seconds)};
}

// As the wire has them.
struct WireAttributes {
    int word = 0;
    Halves size = {};
    bool has_times = false;
    Halves created = {};
    Halves accessed = {};
    Halves modified = {};
};

std::string attribute_document(const WireAttributes& attributes) {
    MessageWriter document;
    const auto add = [&](const char* name, int value) { document.add(name, std::to_string(value)); };
    add(wire::kAttributeWord, attributes.word);
    add(wire::kSizeHigh, attributes.size.high);
    add(wire::kSizeLow, attributes.size.low);
    if (attributes.has_times) {
        add(wire::kCreatedHigh, attributes.created.high);
        add(wire::kCreatedLow, attributes.created.low);
        add(wire::kAccessedHigh, attributes.accessed.high);
        add(wire::kAccessedLow, attributes.accessed.low);
        add(wire::kModifiedHigh, attributes.modified.high);
        add(wire::kModifiedLow, attributes.modified.low);
    }
    return document.finish();
}

// An item of another type than file and folder keeps the previous item's word and size.
void take_listed(const ItemAttributes& listed, WireAttributes& attributes) {
    attributes.has_times = listed.type == kFileItem || listed.type == kFolderItem;
    if (!attributes.has_times)
        return;
    attributes.word = listed.type == kFolderItem ? kDirectoryBit : 0;
    attributes.size = halves(listed.size);
    attributes.created = halves(listed.created);
    attributes.accessed = halves(listed.accessed);
    attributes.modified = halves(listed.modified);
}

WireAttributes status_attributes(const std::string& path) {
    struct stat status = {};
    if (get_file_stat(path.c_str(), &status) != 0)
        status = {};
    WireAttributes attributes;
    attributes.word = S_ISDIR(status.st_mode) ? kDirectoryBit : 0;
    attributes.size = halves(status.st_size);
    attributes.has_times = true;
    attributes.created = local_time_halves(status.st_ctime);
    attributes.accessed = local_time_halves(status.st_atime);
    attributes.modified = local_time_halves(status.st_mtime);
    return attributes;
}

struct Side {
    const char* path_name;
    const char* hex_name;
    const std::string& path;
    const std::string& hex;
};

void add_copy_record(MessageWriter& message, const Side& source, const Side& target,
                     const WireAttributes& attributes) {
    message.begin_record();
    for (const Side* side : {&source, &target}) {
        message.add(side->path_name, side->path);
        message.add(side->hex_name, side->hex);
    }
    message.add(wire::kAttributes, attribute_document(attributes));
    message.end_record();
}

// Without items there is no block either.
template <typename AddItem>
void add_block(MessageWriter& message, const std::vector<RequestItem>& items, AddItem add_item) {
    if (items.empty())
        return;
    message.begin(wire::kItems);
    for (const RequestItem& item : items)
        add_item(item);
    message.end(wire::kItems);
}

}  // namespace

void add_trash_items(MessageWriter& message, const __send_args& args) {
    add_block(message, args.items, [&](const RequestItem& item) {
        message.begin_record();
        message.add(wire::kPathHex, item.path_hex);
        message.end_record();
    });
}

void add_remote_to_local_items(MessageWriter& message, const __send_args& args) {
    const Side target{wire::kLocalPath, wire::kLocalPathHex, args.target_path, args.target_path_hex};
    WireAttributes attributes;
    add_block(message, args.items, [&](const RequestItem& item) {
        take_listed(item.attributes, attributes);
        const Side source{wire::kRemotePath, wire::kRemotePathHex, item.path, item.path_hex};
        add_copy_record(message, source, target, attributes);
    });
}

void add_local_to_remote_items(MessageWriter& message, const __send_args& args) {
    const Side target{wire::kRemotePath, wire::kRemotePathHex, args.target_path, args.target_path_hex};
    add_block(message, args.items, [&](const RequestItem& item) {
        const Side source{wire::kLocalPath, wire::kLocalPathHex, item.path, item.path_hex};
        add_copy_record(message, source, target, status_attributes(item.path));
    });
}

}  // namespace relay_hub
