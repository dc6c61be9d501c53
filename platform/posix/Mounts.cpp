#include <algorithm>
#include <filesystem>
#include <memory>
#include <mntent.h>
#include <string_view>
#include <strings.h>
#include <vector>

#include <platform/posix/Errors.h>
#include <platform/posix/Mounts.h>

namespace KivSys
{

// One variable for the whole process although each shared library holds a copy of the platform floor.
[[gnu::visibility("default")]] constinit inline const char* g_mountTable = nullptr;

namespace
{

struct Mount {
    std::string point;
    std::string share; // "//server/share"; empty when it is no share
};

// "//server/share", with backslashes in some tables, is the form of cifs, "server:/share" that of nfs, where the server
// may be an address in brackets.
std::string ShareOf(std::string_view type, std::string source)
{
    if (type == "cifs" || type == "smb3")
        std::replace(source.begin(), source.end(), '\\', '/');
    else if (const std::size_t colon = source.find(":/"); type.starts_with("nfs") && colon != std::string::npos)
        source = "//" + source.erase(colon, 1);
    else
        source.clear();
    source.resize(source.find_last_not_of('/') + 1);
    return source;
}

// What is mounted later lies above what was mounted at the same place before.
std::vector<Mount> ReadMounts()
{
    std::vector<Mount> mounts;
    const char* path = g_mountTable != nullptr ? g_mountTable : "/proc/self/mounts";
    const std::unique_ptr<FILE, int (*)(FILE*)> table(::setmntent(path, "re"), ::endmntent);
    if (!table)
        return mounts;
    std::vector<char> line(1 << 16);
    mntent entry;
    while (::getmntent_r(table.get(), &entry, line.data(), static_cast<int>(line.size())) != nullptr)
        mounts.push_back({entry.mnt_dir, ShareOf(entry.mnt_type, entry.mnt_fsname)});
    std::reverse(mounts.begin(), mounts.end());
    return mounts;
}

bool EndsComponent(std::string_view path, std::size_t length)
{
    return length == path.size() || path[length] == '/';
}

// Servers and shares have no letter case.
bool LiesOnShare(std::string_view path, std::string_view share)
{
    return !share.empty() && path.size() >= share.size() && EndsComponent(path, share.size()) &&
           ::strncasecmp(path.data(), share.data(), share.size()) == 0;
}

bool LiesBelow(std::string_view path, std::string_view point)
{
    return point == "/" || (path.starts_with(point) && EndsComponent(path, point.size()));
}

// The mount for which length() is the greatest, the latest of them; null when it is 0 for all.
template <class Length>
const Mount* LongestMount(const std::vector<Mount>& mounts, Length length)
{
    const auto isShorter = [&](const Mount& a, const Mount& b) { return length(a) < length(b); };
    const auto longest = std::max_element(mounts.begin(), mounts.end(), isShorter);
    return longest != mounts.end() && length(*longest) != 0 ? &*longest : nullptr;
}

} // namespace

void SetMountTable(const char* path)
{
    g_mountTable = path;
}

std::optional<std::string> PathBelowMount(const std::string& path)
{
    const std::vector<Mount> mounts = ReadMounts();
    const Mount* mount = LongestMount(
        mounts, [&](const Mount& m) { return LiesOnShare(path, m.share) ? m.share.size() : std::size_t{0}; });
    if (mount == nullptr) {
        SetLastError(ErrorBadNetPath);
        return std::nullopt;
    }
    return mount->point + path.substr(mount->share.size());
}

std::optional<std::string> PathOnServer(const std::string& path)
{
    std::error_code ignored;
    const std::string resolved = std::filesystem::weakly_canonical(std::filesystem::absolute(path, ignored), ignored);
    const std::vector<Mount> mounts = ReadMounts();
    const Mount* mount = LongestMount(
        mounts, [&](const Mount& m) { return LiesBelow(resolved, m.point) ? m.point.size() : std::size_t{0}; });
    if (mount == nullptr || mount->share.empty())
        return std::nullopt;
    const std::size_t rest = mount->point == "/" ? 0 : mount->point.size();
    return mount->share + resolved.substr(rest);
}

} // namespace KivSys
