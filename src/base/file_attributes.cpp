#include "base/file_attributes.h"

#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/file_descriptor.h"

namespace relay_hub {
namespace {

constexpr mode_t kSpecialBits = S_ISUID | S_ISGID | S_ISVTX;
constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kDefaultList = "system.posix_acl_default";

// What get fills in. Empty when there is none, or it cannot be read.
template <typename Get>
std::vector<char> value_of(const Get& get) {
    while (true) {
        const ssize_t size = get(nullptr, 0);
        std::vector<char> value(size > 0 ? static_cast<std::size_t>(size) : 0);
        if (value.empty())
            return value;
        const ssize_t got = get(value.data(), value.size());
        if (got >= 0) {
            value.resize(static_cast<std::size_t>(got));
            return value;
        }
        // It grew in between.
        if (errno != ERANGE)
            return {};
    }
}

std::vector<char> attribute_of(int fd, const char* name) {
    return value_of([=](char* to, std::size_t size) { return fgetxattr(fd, name, to, size); });
}

// Each name ended by a zero byte.
std::vector<char> attribute_names(int fd) {
    return value_of([=](char* to, std::size_t size) { return flistxattr(fd, to, size); });
}

struct GroupRights {
    mode_t own = 0;   // what the list leaves to the owning group, as mode bits
    mode_t mode = 0;  // the group bits of the mode of whatever holds the list
};

GroupRights group_rights(const std::vector<char>& list) {
    int group = 0;
    int mask = -1;
    posix_acl_xattr_entry entry{};
    for (std::size_t at = sizeof(posix_acl_xattr_header); at + sizeof entry <= list.size();
         at += sizeof entry) {
        std::memcpy(&entry, list.data() + at, sizeof entry);
        if (entry.e_tag == ACL_GROUP_OBJ)
            group = entry.e_perm;
        else if (entry.e_tag == ACL_MASK)
            mask = entry.e_perm;
    }
    const auto bits = [](int rights) { return static_cast<mode_t>(rights) << 3U & S_IRWXG; };
    return mask < 0 ? GroupRights{bits(group), bits(group)} : GroupRights{bits(group & mask), bits(mask)};
}

// False when target does not hold source's list.
bool copy_list(const char* name, const std::vector<char>& list, int target, TargetAge age) {
    if (!list.empty())
        return fsetxattr(target, name, list.data(), list.size(), 0) == 0;
    if (age == TargetAge::fresh)
        (void)fremovexattr(target, name);
    return true;
}

void take_owner(int target, const FileOwner& owner) {
    // A user who may not change the owner may still choose one of their own groups.
    if (fchown(target, owner.user, owner.group) != 0)
        (void)!fchown(target, static_cast<uid_t>(-1), owner.group);
}

}  // namespace

mode_t copy_extended_attributes(int source, mode_t source_mode, int target, TargetAge age) {
    const std::vector<char> names = attribute_names(source);
    for (std::size_t at = 0; at < names.size(); at += std::strlen(names.data() + at) + 1) {
        const char* const name = names.data() + at;
        if (!std::string_view(name).starts_with("user."))
            continue;
        const std::vector<char> value = attribute_of(source, name);
        (void)fsetxattr(target, name, value.data(), value.size(), 0);
    }
    if (S_ISDIR(source_mode))
        (void)copy_list(kDefaultList, attribute_of(source, kDefaultList), target, age);
    const std::vector<char> list = attribute_of(source, kAccessList);
    const bool copied = copy_list(kAccessList, list, target, age);
    if (list.empty())
        return source_mode;
    // The mode's group bits are the list's mask: without the list they would be the group's own rights.
    const GroupRights group = group_rights(list);
    const mode_t others = source_mode & ~mode_t{S_IRWXG};
    return others | (copied ? group.mode : source_mode & group.own);
}

mode_t mode_without_list(int source, mode_t mode) {
    // By a path, since a descriptor may be open for its path alone.
    const std::string path = path_of_descriptor(source);
    const std::vector<char> list =
        value_of([&](char* to, std::size_t size) { return getxattr(path.c_str(), kAccessList, to, size); });
    return list.empty() ? mode : mode & (~mode_t{S_IRWXG} | group_rights(list).own);
}

int apply_mode(int fd, mode_t mode, const std::optional<FileOwner>& source_owner) {
    struct stat now {};
    const bool kept = (mode & kSpecialBits) == 0 || (source_owner && fstat(fd, &now) == 0 &&
                                                     FileOwner{now.st_uid, now.st_gid} == source_owner);
    return fchmod(fd, mode & (kept ? ALLPERMS : ACCESSPERMS)) == 0 ? 0 : errno;
}

int apply_times(int fd, const timespec& accessed, const timespec& modified) {
    const timespec times[] = {accessed, modified};
    return futimens(fd, times) == 0 ? 0 : errno;
}

bool has_same_content(const struct stat& before, const struct stat& after) {
    return before.st_size == after.st_size && before.st_mtim.tv_sec == after.st_mtim.tv_sec &&
           before.st_mtim.tv_nsec == after.st_mtim.tv_nsec;
}

bool is_refusal(int error) {
    return error == EPERM || error == ENOTSUP || error == ENOSYS;
}

int copy_attributes(int source, const struct stat& record, int target, TargetAge age) {
    const FileOwner owner{record.st_uid, record.st_gid};
    take_owner(target, owner);
    const mode_t mode =
        source < 0 ? record.st_mode : copy_extended_attributes(source, record.st_mode, target, age);
    int error = apply_mode(target, mode, owner);
    if (error == 0 || is_refusal(error))
        error = apply_times(target, record.st_atim, record.st_mtim);
    return is_refusal(error) ? 0 : error;
}

}  // namespace relay_hub
