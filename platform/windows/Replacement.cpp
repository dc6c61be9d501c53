#include <platform/windows/System.h>

namespace KivSys
{

std::string FollowLinks(const std::string& path)
{
    const ::DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const ::HANDLE file =
        ::CreateFileA(path.c_str(), 0, share, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return path;
    std::string final(32768, '\0');
    final.resize(::GetFinalPathNameByHandleA(file, final.data(), static_cast<::DWORD>(final.size()), 0));
    ::CloseHandle(file);
    // The form without normalisation: \\?\C:\x and \\?\UNC\server\share\x.
    const std::string prefix = "\\\\?\\";
    const std::string network = prefix + "UNC\\";
    if (final.starts_with(network))
        return "\\\\" + final.substr(network.size());
    return final.starts_with(prefix) ? final.substr(prefix.size()) : path;
}

bool ReplaceFileA(const char* replaced, const char* replacement)
{
    if (::GetFileAttributesA(replaced) == INVALID_FILE_ATTRIBUTES)
        return ::MoveFileA(replacement, replaced) != 0;
    return ::ReplaceFileA(replaced, replacement, nullptr, 0, nullptr, nullptr) != 0;
}

bool CopyOwnerAndMode(const char*, const char*)
{
    return true;
}

} // namespace KivSys
