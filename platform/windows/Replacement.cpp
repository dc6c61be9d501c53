#include <platform/windows/System.h>

namespace KivSys
{

namespace
{

// Opened to be asked about, whatever it is and whoever else has it open. INVALID_HANDLE_VALUE on failure.
::HANDLE OpenForQuestions(const char* path)
{
    const ::DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return ::CreateFileA(path, 0, share, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

} // namespace

std::string FollowLinks(const std::string& path)
{
    const ::HANDLE file = OpenForQuestions(path.c_str());
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

bool IsRegularFile(const char* path)
{
    const ::HANDLE file = OpenForQuestions(path);
    ::BY_HANDLE_FILE_INFORMATION information;
    const bool isRegular = ::GetFileType(file) == FILE_TYPE_DISK &&
                           ::GetFileInformationByHandle(file, &information) != 0 &&
                           (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    ::CloseHandle(file);
    return isRegular;
}

bool ReplaceFileA(const char* replaced, const char* replacement)
{
    if (::GetFileAttributesA(replaced) == INVALID_FILE_ATTRIBUTES)
        return ::MoveFileA(replacement, replaced) != 0;
    return ::ReplaceFileA(replaced, replacement, nullptr, 0, nullptr, nullptr) != 0;
}

bool CopyOwnerAndRights(const char*, const char*)
{
    return true;
}

} // namespace KivSys
