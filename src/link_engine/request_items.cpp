#include "link_engine/request_items.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include "link_engine/Zev_link_op.h"
#include "link_engine/message_names.h"
#include "xml_doc/zev_xml.h"

namespace relay_hub {
namespace {

constexpr int kFile = 0;
constexpr int kFolder = 1;
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

std::int64_t number_at(const std::vector<std::string>& texts, std::size_t index) {
    return index < texts.size() ? std::strtoll(texts[index].c_str(), nullptr, 10) : 0;
}

struct Attributes {
    int word = 0;
    Halves size = {};
    bool has_times = false;
    Halves created = {};
    Halves accessed = {};
    Halves modified = {};
};

struct Number {
    const char* name;
    int value;
};

// Numbers need no escaping, and there is one document an item: it is written at once.
void append(std::string& text, std::initializer_list<Number> numbers) {
    for (const Number& number : numbers)
        text.append("<")
            .append(number.name)
            .append(">")
            .append(std::to_string(number.value))
            .append("</")
            .append(number.name)
            .append(">");
}

std::string attribute_document(const Attributes& attributes) {
    std::string text = std::string("<") + wire::kRoot + ">";
    append(text, {{wire::kAttributeWord, attributes.word},
                  {wire::kSizeHigh, attributes.size.high},
                  {wire::kSizeLow, attributes.size.low}});
    if (attributes.has_times)
        append(text, {{wire::kCreatedHigh, attributes.created.high},
                      {wire::kCreatedLow, attributes.created.low},
                      {wire::kAccessedHigh, attributes.accessed.high},
                      {wire::kAccessedLow, attributes.accessed.low},
                      {wire::kModifiedHigh, attributes.modified.high},
                      {wire::kModifiedLow, attributes.modified.low}});
    return text.append("</").append(wire::kRoot).append(">");
}

// An item of another type than file and folder keeps the previous item's word and size.
void listed_attributes(const __send_args& args, std::size_t item, Attributes& attributes) {
    const int type = args.item_types[item];
    attributes.has_times = type == kFile || type == kFolder;
    if (!attributes.has_times)
        return;
    attributes.word = type == kFolder ? kDirectoryBit : 0;
    attributes.size = halves(number_at(args.item_sizes, item));
    attributes.created = halves(number_at(args.item_creation_times, item));
    attributes.accessed = halves(number_at(args.item_access_times, item));
    attributes.modified = halves(number_at(args.item_modification_times, item));
}

Attributes status_attributes(const std::string& path) {
    struct stat status = {};
    if (get_file_stat(path.c_str(), &status) != 0)
        status = {};
    Attributes attributes;
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

void add_copy_record(CZEVXML& message, const Side& source, const Side& target, const Attributes& attributes) {
    CZEVXML record;
    record.AddNew();
    for (const Side* side : {&source, &target}) {
        record.Generate(side->path_name, side->path);
        record.Generate(side->hex_name, side->hex);
    }
    record.Generate(wire::kAttributes, attribute_document(attributes));
    message.MergeMRS(wire::kItems, std::move(record));
}

}  // namespace

void add_trash_items(CZEVXML& message, const __send_args& args) {
    for (const std::string& path_hex : args.item_paths_hex) {
        CZEVXML record;
        record.AddNew();
        record.Generate(wire::kPathHex, path_hex);
        message.MergeMRS(wire::kItems, std::move(record));
    }
}

void add_remote_to_local_items(CZEVXML& message, const __send_args& args) {
    const std::size_t count =
        std::min({args.item_paths.size(), args.item_paths_hex.size(), args.item_types.size()});
    const Side target{wire::kLocalPath, wire::kLocalPathHex, args.target_path, args.target_path_hex};
    Attributes attributes;
    for (std::size_t item = 0; item < count; ++item) {
        listed_attributes(args, item, attributes);
        add_copy_record(
            message,
            {wire::kRemotePath, wire::kRemotePathHex, args.item_paths[item], args.item_paths_hex[item]},
            target, attributes);
    }
}

void add_local_to_remote_items(CZEVXML& message, const __send_args& args) {
    const std::size_t count = std::min(args.item_paths.size(), args.item_paths_hex.size());
    const Side target{wire::kRemotePath, wire::kRemotePathHex, args.target_path, args.target_path_hex};
    for (std::size_t item = 0; item < count; ++item)
        add_copy_record(
            message,
            {wire::kLocalPath, wire::kLocalPathHex, args.item_paths[item], args.item_paths_hex[item]}, target,
            status_attributes(args.item_paths[item]));
}

}  // namespace relay_hub
