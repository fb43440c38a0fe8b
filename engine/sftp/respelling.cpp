#include "engine/sftp/respelling.h"

#include "engine/names.h"
#include "engine/sftp/folder_reader.h"

namespace relay_hub::engine::sftp {
namespace {

// Unlike a temporary name it is never swept: it is the user's only copy.
constexpr const char* kBetween = ".renaming";

}  // namespace

bool is_respelling(Session& session, const std::string& from, const std::string& to) {
    const std::string form = common_form(base_name(to));
    const std::string folder = parent_path(from);
    if (from == to || folder != parent_path(to) || common_form(base_name(from)) != form)
        return false;
    std::size_t alike = 0;
    const Error error = read_folder(session, folder.empty() ? "/" : folder, [&](const NamedEntry& entry) {
        alike += common_form(entry.name) == form ? 1 : 0;
    });
    return !error && alike == 1;
}

// Not by a rename that replaces: some servers first remove what is there, which is the entry itself.
Error respell(Session& session, const std::string& from, const std::string& to) {
    const std::string between = to + kBetween;
    if (Error error = session.rename_to_free(from, between); error)
        return error;
    Error error = session.rename_to_free(between, to);
    if (error)
        (void)session.rename_to_free(between, from);
    return error;
}

}  // namespace relay_hub::engine::sftp
