// What an SFTP server answers, read as every kind of answer.
#include "engine/sftp/packet.h"
#include "engine/sftp/part_name.h"
#include "engine/sftp/remote_entry.h"
#include "fuzz_input.h"

namespace {

using namespace relay_hub::engine::sftp;  // NOLINT(google-build-using-namespace)

void check_names(std::string_view fields) {
    const auto names = read_names(fields);
    std::size_t bytes = 0;
    for (const NamedEntry& entry : names.value_or(std::vector<NamedEntry>())) {
        bytes += entry.name.size();
        const auto converted = entry_of(entry.name, entry.attributes);
        check((converted.mode & ~07777U) == 0, "a mode has no type");
        if (is_possible_name(entry.name))
            check(entry.name.find('/') == std::string::npos, "a name stays in its folder");
        (void)is_left_over(entry.name, 0);
    }
    check(bytes <= fields.size(), "names are no longer than their packet");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view fields(text_of(data, size));
    check_names(fields);
    (void)read_status(fields);
    (void)read_limits(fields);
    (void)read_space(fields);
    (void)read_version(fields);
    if (const auto handle = read_handle(fields))
        check(handle->size() <= kLongestHandle, "a handle is short");
    if (const auto content = read_data(fields))
        check(Fields().add(*content).bytes() == fields, "data is all that its packet holds");
    if (const auto attributes = read_attributes(fields)) {
        const auto again = read_attributes(Fields().add(*attributes).bytes());
        check(again.has_value() && again->permissions == attributes->permissions,
              "attributes come back as they were written");
    }
    return 0;
}
