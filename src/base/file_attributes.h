#pragma once
// What a copy takes over from its source beside the content, always through open descriptors. What a file
// system or the system refuses to keep is no failure of a copy. Any thread.
#include <sys/stat.h>

#include <ctime>
#include <optional>

namespace relay_hub {

// Whether the target was made by this copy, or had attributes of its own before.
enum class TargetAge { fresh, existing };

struct FileOwner {
    uid_t user = 0;
    gid_t group = 0;
    bool operator==(const FileOwner&) const = default;
};

// Extended attributes, owner and group, mode, and access and modification time in nanoseconds, of source onto
// target. record tells them as they were before source was read; -1 for source takes over what it tells.
// The special mode bits are kept only where owner and group really became those of the record. 0, or the
// errno of what failed otherwise.
int copy_attributes(int source, const struct stat& record, int target, TargetAge age);

// The extended attributes user.* and the access control lists alone; a fresh target gets rid of lists that it
// inherited. Returns the mode to set on target afterwards: source_mode, but its group bits are the list's own
// where target holds that, and else what the list gave to the owning group alone.
mode_t copy_extended_attributes(int source, mode_t source_mode, int target, TargetAge age);

// What mode gives the group where source's access control list is not taken over: the mode's group bits are
// the list's mask then, and the owning group itself may have less. source may be open for its path alone.
mode_t mode_without_list(int source, mode_t mode);

// 0 or errno, a refusal among them. The special mode bits are kept only where fd has source_owner.
int apply_mode(int fd, mode_t mode, const std::optional<FileOwner>& source_owner);
int apply_times(int fd, const timespec& accessed, const timespec& modified);
// Whether a file whose records these are was left alone between them, as far as size and time tell.
bool has_same_content(const struct stat& before, const struct stat& after);
// Some file systems hold neither modes nor exact times, and only an owner may set them.
bool is_refusal(int error);

}  // namespace relay_hub
