#include "engine/sftp/packet.h"

#include <bit>
#include <cstring>

namespace relay_hub::engine::sftp {
namespace {

constexpr std::uint32_t kHasSize = 1;
constexpr std::uint32_t kHasOwner = 2;
constexpr std::uint32_t kHasPermissions = 4;
constexpr std::uint32_t kHasTimes = 8;
constexpr std::uint32_t kHasExtended = 0x80000000U;
constexpr std::uint64_t kReadOnlyFlag = 1;
// Two empty texts and empty attributes: what a name costs at least.
constexpr std::size_t kShortestName = 12;

template <typename Number>
void append_big_endian(std::string& bytes, Number number) {
    if constexpr (std::endian::native == std::endian::little) {
        if constexpr (sizeof number == 4)
            number = __builtin_bswap32(number);
        else
            number = __builtin_bswap64(number);
    }
    char raw[sizeof number];
    std::memcpy(raw, &number, sizeof number);
    bytes.append(raw, sizeof number);
}

template <typename Number>
Number big_endian(std::string_view bytes) {
    Number number = 0;
    for (const char c : bytes)
        number = static_cast<Number>(number << 8U | static_cast<unsigned char>(c));
    return number;
}

}  // namespace

void append_number(std::string& bytes, std::uint32_t number) {
    append_big_endian(bytes, number);
}

std::uint32_t number_at(const char* bytes) {
    return big_endian<std::uint32_t>({bytes, 4});
}

Fields& Fields::add(std::uint32_t number) {
    append_big_endian(bytes_, number);
    return *this;
}

Fields& Fields::add(std::uint64_t number) {
    append_big_endian(bytes_, number);
    return *this;
}

Fields& Fields::add(std::string_view text) {
    append_number(bytes_, static_cast<std::uint32_t>(text.size()));
    bytes_.append(text);
    return *this;
}

Fields& Fields::add(const Attributes& attributes) {
    add((attributes.size ? kHasSize : 0U) | (attributes.owner ? kHasOwner : 0U) |
        (attributes.permissions ? kHasPermissions : 0U) | (attributes.times ? kHasTimes : 0U));
    if (attributes.size)
        add(*attributes.size);
    if (attributes.owner)
        add(attributes.owner->user).add(attributes.owner->group);
    if (attributes.permissions)
        add(*attributes.permissions);
    if (attributes.times)
        add(attributes.times->accessed).add(attributes.times->modified);
    return *this;
}

std::string_view FieldReader::take(std::size_t size) {
    if (!good_ || size > unread_.size()) {
        good_ = false;
        unread_ = {};
        return {};
    }
    const std::string_view taken = unread_.substr(0, size);
    unread_.remove_prefix(size);
    return taken;
}

std::uint32_t FieldReader::number() {
    return big_endian<std::uint32_t>(take(sizeof(std::uint32_t)));
}

std::uint64_t FieldReader::long_number() {
    return big_endian<std::uint64_t>(take(sizeof(std::uint64_t)));
}

std::string_view FieldReader::text() {
    return take(number());
}

Attributes FieldReader::attributes() {
    Attributes result;
    const std::uint32_t flags = number();
    if ((flags & kHasSize) != 0)
        result.size = long_number();
    if ((flags & kHasOwner) != 0) {
        const std::uint32_t user = number();
        result.owner = {user, number()};
    }
    if ((flags & kHasPermissions) != 0)
        result.permissions = number();
    if ((flags & kHasTimes) != 0) {
        const std::uint32_t accessed = number();
        result.times = {accessed, number()};
    }
    if ((flags & kHasExtended) != 0) {
        for (std::uint32_t count = number(); good_ && count > 0; --count) {
            (void)text();
            (void)text();
        }
    }
    return result;
}

std::optional<Status> read_status(std::string_view fields) {
    FieldReader reader(fields);
    Status status;
    status.code = StatusCode{reader.number()};
    if (!reader.good())
        return std::nullopt;
    // Old servers send the code alone.
    if (reader.left() > 0)
        status.message = reader.text();
    if (reader.left() > 0)
        (void)reader.text();
    if (!reader.complete())
        return std::nullopt;
    return status;
}

std::optional<std::string> read_handle(std::string_view fields) {
    FieldReader reader(fields);
    const std::string_view handle = reader.text();
    if (!reader.complete() || handle.size() > kLongestHandle)
        return std::nullopt;
    return std::string(handle);
}

std::optional<std::string_view> read_data(std::string_view fields) {
    FieldReader reader(fields);
    const std::string_view data = reader.text();
    if (!reader.complete())
        return std::nullopt;
    return data;
}

std::optional<Attributes> read_attributes(std::string_view fields) {
    FieldReader reader(fields);
    const Attributes attributes = reader.attributes();
    if (!reader.complete())
        return std::nullopt;
    return attributes;
}

std::optional<std::vector<NamedEntry>> read_names(std::string_view fields) {
    FieldReader reader(fields);
    const std::uint32_t count = reader.number();
    if (count > reader.left() / kShortestName)
        return std::nullopt;
    std::vector<NamedEntry> names;
    names.reserve(count);
    for (std::uint32_t i = 0; i < count && reader.good(); ++i) {
        NamedEntry entry;
        entry.name = reader.text();
        (void)reader.text();
        entry.attributes = reader.attributes();
        names.push_back(std::move(entry));
    }
    if (!reader.complete())
        return std::nullopt;
    return names;
}

std::optional<Limits> read_limits(std::string_view fields) {
    FieldReader reader(fields);
    Limits limits;
    for (std::uint64_t* value : {&limits.packet, &limits.read, &limits.write, &limits.handles})
        *value = reader.long_number();
    if (!reader.good())
        return std::nullopt;
    return limits;
}

std::optional<FileSystemSpace> read_space(std::string_view fields) {
    FieldReader reader(fields);
    FileSystemSpace space;
    std::uint64_t ignored = 0;
    std::uint64_t flags = 0;
    for (std::uint64_t* value :
         {&ignored, &space.fragment_size, &ignored, &ignored, &space.available, &space.file_nodes, &ignored,
          &space.free_file_nodes, &space.id, &flags, &ignored})
        *value = reader.long_number();
    if (!reader.good())
        return std::nullopt;
    space.read_only = (flags & kReadOnlyFlag) != 0;
    return space;
}

std::optional<std::vector<Extension>> read_version(std::string_view fields) {
    FieldReader reader(fields);
    if (reader.number() != kProtocolVersion)
        return std::nullopt;
    std::vector<Extension> extensions;
    while (reader.left() > 0) {
        const std::string_view name = reader.text();
        extensions.push_back({std::string(name), std::string(reader.text())});
    }
    if (!reader.complete())
        return std::nullopt;
    return extensions;
}

}  // namespace relay_hub::engine::sftp
