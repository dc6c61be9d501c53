#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

#include <platform/posix/Errors.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

namespace
{

// The kernel's limit on the names of a file's attributes together, and on one value.
constexpr std::size_t MOST_ATTRIBUTE_BYTES = 65536;

// File systems differ in what they keep, so an attribute that does not go over is left behind.
void CopyUserAttributes(const std::string& from, const std::string& to)
{
    std::vector<char> names(MOST_ATTRIBUTE_BYTES);
    std::vector<char> value(MOST_ATTRIBUTE_BYTES);
    const ssize_t length = ::listxattr(from.c_str(), names.data(), names.size());
    const char* const end = names.data() + std::max<ssize_t>(length, 0);
    for (const char* name = names.data(); name < end; name += std::strlen(name) + 1) {
        const ssize_t size = ::getxattr(from.c_str(), name, value.data(), value.size());
        if (std::string_view(name).starts_with("user.") && size >= 0)
            ::setxattr(to.c_str(), name, value.data(), static_cast<std::size_t>(size), 0);
    }
}

// Without its list the mode alone would give the group what the list gives others, so a list must go over. Neither may
// the new file keep a list that its directory gave it.
bool CopyAccessList(const std::string& from, const std::string& to)
{
    constexpr char name[] = "system.posix_acl_access";
    std::vector<char> value(MOST_ATTRIBUTE_BYTES);
    const ssize_t size = ::getxattr(from.c_str(), name, value.data(), value.size());
    const auto hasNone = [] { return errno == ENODATA || errno == ENOTSUP; };
    if (size >= 0)
        return ::setxattr(to.c_str(), name, value.data(), static_cast<std::size_t>(size), 0) == 0;
    return hasNone() && (::removexattr(to.c_str(), name) == 0 || hasNone());
}

} // namespace

std::string FollowLinks(const std::string& path)
{
    constexpr int MOST_LINKS = 40;
    std::optional<std::string> native = NativePath(path.c_str());
    for (int i = 0; native && i < MOST_LINKS; ++i) {
        std::error_code error;
        const std::filesystem::path link(*native);
        const std::filesystem::path target = std::filesystem::read_symlink(link, error);
        if (error)
            return i == 0 ? path : HousePath(*native);
        native = (link.parent_path() / target).string();
    }
    return path;
}

bool IsRegularFile(const char* path)
{
    const std::optional<std::string> native = NativePath(path);
    struct stat status;
    return native && ::stat(native->c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool ReplaceFileA(const char* replaced, const char* replacement)
{
    const std::optional<std::string> to = NativePath(replaced);
    const std::optional<std::string> from = NativePath(replacement);
    return to && from && (::rename(from->c_str(), to->c_str()) == 0 || FailOnPath(*to));
}

// The user attributes go over first, since they need a file that may be written; the mode goes last, since a change of
// the owner takes bits off it.
bool CopyOwnerAndRights(const char* from, const char* to)
{
    const std::optional<std::string> source = NativePath(from);
    const std::optional<std::string> target = NativePath(to);
    struct stat status;
    if (!source || !target)
        return false;
    if (::stat(source->c_str(), &status) != 0)
        return FailOnPath(*source);
    CopyUserAttributes(*source, *target);
    return (::chown(target->c_str(), status.st_uid, status.st_gid) == 0 && CopyAccessList(*source, *target) &&
            ::chmod(target->c_str(), status.st_mode & 07777) == 0) ||
           FailWithErrno();
}

} // namespace KivSys
