#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <platform/posix/Errors.h>
#include <platform/posix/Paths.h>

namespace KivSys
{

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

bool ReplaceFileA(const char* replaced, const char* replacement)
{
    const std::optional<std::string> to = NativePath(replaced);
    const std::optional<std::string> from = NativePath(replacement);
    return to && from && (::rename(from->c_str(), to->c_str()) == 0 || FailOnPath(*to));
}

// The owner first: a change of it takes bits off the mode.
bool CopyOwnerAndMode(const char* from, const char* to)
{
    const std::optional<std::string> source = NativePath(from);
    const std::optional<std::string> target = NativePath(to);
    struct stat status;
    if (!source || !target)
        return false;
    if (::stat(source->c_str(), &status) != 0)
        return FailOnPath(*source);
    return (::chown(target->c_str(), status.st_uid, status.st_gid) == 0 &&
            ::chmod(target->c_str(), status.st_mode & 07777) == 0) ||
           FailWithErrno();
}

} // namespace KivSys
