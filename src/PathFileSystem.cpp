// The members of PathT that ask and change the file system and the network.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <KivBase/Handle.h>
#include <KivFile/FileException.h>
#include <KivFile/Path.h>

#include "PathCalls.h"
#include "PathInfo.h"
#include "PathText.h"
#include "PathThrow.h"

namespace KivFile
{

namespace
{

using PathText::SEPARATORS;
using PathText::View;

template <class T>
constexpr bool IsInRange(T unit, char first, char last)
{
    return unit >= static_cast<T>(first) && unit <= static_cast<T>(last);
}

// Only ASCII letters change: servers and drives are no words of a language.
template <class T>
T AsciiLower(T unit)
{
    return IsInRange(unit, 'A', 'Z') ? static_cast<T>(unit + ('a' - 'A')) : unit;
}

template <class String>
String ToAsciiLower(String text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](auto unit) { return AsciiLower(unit); });
    return text;
}

template <class String>
String ToAsciiUpper(String text)
{
    using T = typename String::value_type;
    std::transform(text.begin(), text.end(), text.begin(),
                   [](T unit) { return IsInRange(unit, 'a', 'z') ? static_cast<T>(unit - ('a' - 'A')) : unit; });
    return text;
}

bool IsEqualNoCase(std::string_view a, std::string_view b)
{
    return Kiv::NoCase::IsEqual(a, b);
}

bool IsEqualNoCase(Kiv::WStringView a, Kiv::WStringView b)
{
    return Kiv::WNoCase::IsEqual(a, b);
}

// The server of a network path.
template <class String>
String ServerOf(const String& text)
{
    return text.substr(2, text.find(PathText::SEPARATOR, 2) - 2);
}

template <class T>
std::vector<View<T>> Components(View<T> text)
{
    std::vector<View<T>> components;
    while (!text.empty()) {
        const View<T> component = text.substr(0, text.find_first_of(SEPARATORS<T>));
        if (!component.empty())
            components.push_back(component);
        text.remove_prefix(std::min(component.size() + 1, text.size()));
    }
    return components;
}

// Appends a backslash and the stored form of the name in the directory result; false when it is not there.
template <class T>
bool AppendStoredName(typename PathT<T>::String& result, View<T> name)
{
    using Calls = PathCalls<T>;
    typename PathT<T>::String pattern = result + PathT<T>::PATH_SEPARATOR;
    pattern += name;
    typename Calls::FindData found;
    const Kiv::FindHandle search(Calls::FindFirstFileWrp(pattern.c_str(), &found, KivSys::FindBasicInfo));
    if (!search.IsValid())
        return false;
    result += PathT<T>::PATH_SEPARATOR;
    result.append(found.name.data(), found.name.size());
    return true;
}

// Whether a file or directory exists. A separator behind the name does not matter, so that a file in the way of a
// directory is seen.
template <class T>
KivSys::DWORD AttributesOf(View<T> prefix)
{
    if (prefix.size() > PathText::RootLength<T>(prefix) && prefix.ends_with(PathText::SEPARATOR))
        prefix.remove_suffix(1);
    return PathCalls<T>::GetFileAttributesWrp(typename PathT<T>::String(prefix).c_str());
}

bool IsDirectoryBit(KivSys::DWORD attributes)
{
    return (attributes & KivSys::AttributeDirectory) != 0;
}

template <class String>
[[noreturn]] void Throw(PathTThrow::ErrorType kind, const String& first, const String& second = String())
{
    PathTThrow::ThrowError(kind, first, second);
}

// A file is where the directory should be made: no call has failed yet.
template <class String>
[[noreturn]] void ThrowInTheWay(const String& path)
{
    KivSys::SetLastError(KivSys::ErrorAlreadyExists);
    Throw(PathTThrow::CannotCreate, path);
}

} // namespace

// ---- Queries ------------------------------------------------------------------------------------------------

template <class T>
bool PathT<T>::Exists() const
{
    return GetAttributes() != NOT_READ;
}

template <class T>
bool PathT<T>::IsDirectory() const
{
    return HasAttribute(ATTRIBUTE_DIRECTORY);
}

template <class T>
bool PathT<T>::IsFile() const
{
    return Exists() && !HasAttribute(ATTRIBUTE_DIRECTORY);
}

template <class T>
bool PathT<T>::IsReadOnly() const
{
    return HasAttribute(ATTRIBUTE_READ_ONLY);
}

template <class T>
bool PathT<T>::IsHidden() const
{
    return HasAttribute(ATTRIBUTE_HIDDEN);
}

template <class T>
bool PathT<T>::IsNotIndexed() const
{
    return HasAttribute(ATTRIBUTE_NOT_INDEXED);
}

template <class T>
bool PathT<T>::IsReadable() const
{
    return Exists() && !HasAttribute(ATTRIBUTE_OFFLINE);
}

template <class T>
bool PathT<T>::IsWritable() const
{
    return IsReadable() && !IsReadOnly();
}

template <class T>
const std::uint64_t& PathT<T>::Size() const
{
    GetAttributes();
    return m_size;
}

template <class T>
const Kiv::DateTime& PathT<T>::GetLastModificationDate() const
{
    GetAttributes();
    return m_lastModificationDate;
}

template <class T>
bool PathT<T>::IsLink() const
{
    return HasAttribute(KivSys::AttributeReparsePoint);
}

template <class T>
std::int32_t PathT<T>::GetAttributes() const
{
    if (m_attributes == NOT_READ)
        RefreshInfo();
    return m_attributes;
}

// Whether the file exists and has the attribute.
template <class T>
bool PathT<T>::HasAttribute(std::uint32_t attribute) const
{
    if ((attribute & KivSys::AttributesStored) != 0)
        CompleteAttributes();
    return Exists() && (static_cast<std::uint32_t>(m_attributes) & attribute) != 0;
}

// Adds the attributes that a walk's search left unread. All else stays as the search found it.
template <class T>
void PathT<T>::CompleteAttributes() const
{
    const auto known = static_cast<std::uint32_t>(m_attributes);
    if (m_attributes == NOT_READ || (known & KivSys::AttributeStoredUnread) == 0)
        return;
    const KivSys::DWORD read = PathCalls<T>::GetFileAttributesWrp(m_fullPath.c_str());
    const KivSys::DWORD stored = read == KivSys::InvalidFileAttributes ? 0 : read & KivSys::AttributesStored;
    m_attributes = static_cast<std::int32_t>((known & ~KivSys::AttributeStoredUnread) | stored);
}

template <class T>
void PathT<T>::RefreshInfo() const
{
    // The system would take what stands before a zero for the path.
    const bool isPath = m_fullPath.find(T{}) == String::npos;
    KivSys::FileAttributeData data;
    if (!isPath || !PathCalls<T>::GetFileAttributesExWrp(m_fullPath.c_str(), &data))
        return;
    m_attributes = static_cast<std::int32_t>(data.attributes);
    m_size = std::uint64_t{data.sizeHigh} << 32 | data.sizeLow;
    m_lastModificationDate = DateOf(data.lastWriteTime);
}

template <class T>
void PathT<T>::ClearAttributes()
{
    m_attributes = NOT_READ;
}

// ---- Changes ------------------------------------------------------------------------------------------------

template <class T>
void PathT<T>::SetAttribute(FileAttributes attribute, bool on)
{
    ClearAttributes();
    if (!Exists())
        Throw(PathTThrow::CannotSetAttributes, m_fullPath);
    const auto attributes = static_cast<std::uint32_t>(m_attributes);
    ClearAttributes();
    if (!PathCalls<T>::SetFileAttributesWrp(m_fullPath.c_str(), on ? attributes | attribute : attributes & ~attribute))
        Throw(PathTThrow::CannotSetAttributes, m_fullPath);
}

// Makes what is missing of the directories above the last component. What cannot be made shows when the next one is.
template <class T>
void PathT<T>::CreateMissingAncestors() const
{
    const bool isRoot = m_fullPath.ends_with(PATH_SEPARATOR);
    std::size_t separator = 0;
    while ((separator = m_fullPath.find(PATH_SEPARATOR, separator)) != String::npos) {
        const String prefix = m_fullPath.substr(0, ++separator);
        const KivSys::DWORD attributes = AttributesOf<T>(prefix);
        if (attributes == KivSys::InvalidFileAttributes) {
            if (PathCalls<T>::MkDirWrp(prefix.c_str()) == 0 && isRoot)
                Throw(PathTThrow::CannotCreate, m_fullPath);
        } else if (!IsDirectoryBit(attributes)) {
            ThrowInTheWay(prefix);
        }
    }
}

template <class T>
void PathT<T>::CreateDir()
{
    CreateMissingAncestors();
    if (m_fullPath.ends_with(PATH_SEPARATOR))
        return;
    ClearAttributes();
    if (IsFile())
        ThrowInTheWay(m_fullPath);
    if (!Exists() && PathCalls<T>::MkDirWrp(m_fullPath.c_str()) != 0)
        Throw(PathTThrow::CannotCreate, m_fullPath);
}

template <class T>
void PathT<T>::CreateFileW()
{
    PathT directory(Directory());
    if (!directory.Exists())
        directory.CreateDir();
    const Kiv::Handle file(PathCalls<T>::CreateFileWrp(m_fullPath.c_str(), KivSys::GenericWrite, KivSys::ShareWrite,
                                                       KivSys::CreateNew, 0));
    if (!file.IsValid())
        Throw(PathTThrow::CannotCreate, m_fullPath);
    ClearAttributes();
}

template <class T>
void PathT<T>::Delete(bool force)
{
    DeleteOne(force, false);
}

// isFresh says that what is remembered was read just now, with the directory that lists the path.
template <class T>
void PathT<T>::DeleteOne(bool force, bool isFresh)
{
    using Calls = PathCalls<T>;
    if (force && IsFile()) {
        SetAttribute(ATTRIBUTE_READ_ONLY, false);
        SetAttribute(ATTRIBUTE_HIDDEN, false);
    }
    const bool isFile = IsFile();
    const bool isDeletable = IsWritable();
    ClearAttributes();
    if (!isDeletable)
        return;
    const T* text = m_fullPath.c_str();
    if ((isFile ? Calls::UnlinkWrp(text, isFresh) : Calls::RmDirWrp(text)) != 0)
        Throw(PathTThrow::CannotDelete, m_fullPath);
}

template <class T>
void PathT<T>::Copy(const String& to, bool overwrite) const
{
    Copy(m_fullPath, to, !overwrite);
}

template <class T>
void PathT<T>::Copy(const String& from, const String& to, bool failIfExists)
{
    if (!PathCalls<T>::CopyFileWrp(from.c_str(), to.c_str(), failIfExists))
        Throw(PathTThrow::CannotCopy, from, to);
}

template <class T>
void PathT<T>::Move(const String& to)
{
    Move(m_fullPath, to);
    *this = PathT(to);
}

template <class T>
void PathT<T>::Move(const String& from, const String& to)
{
    if (!PathCalls<T>::MoveFileWrp(from.c_str(), to.c_str()))
        Throw(PathTThrow::CannotMove, from, to);
}

template <class T>
void PathT<T>::Rename(const String& to)
{
    Rename(m_fullPath, to);
    *this = PathT(to);
}

template <class T>
void PathT<T>::Rename(const String& from, const String& to)
{
    if (PathCalls<T>::RenameWrp(from.c_str(), to.c_str()) != 0)
        Throw(PathTThrow::CannotMove, from, to);
}

// ---- Drives and directories ---------------------------------------------------------------------------------

template <class T>
std::uint64_t PathT<T>::GetAvailableDiskSpace() const
{
    std::uint64_t available = 0;
    PathCalls<T>::GetDiskFreeSpaceExWrp(Directory().c_str(), &available);
    return available;
}

template <class T>
PathT<T> PathT<T>::GetCurrentPath(const T& drive)
{
    typename PathCalls<T>::Text text;
    if (drive == PATH_CURRENT) {
        PathCalls<T>::GetCurrentDirectoryWrp(&text);
    } else {
        const T letter = AsciiLower(drive);
        if (!IsInRange(letter, 'a', 'z') || (KivSys::GetLogicalDrives() >> (letter - 'a') & 1) == 0)
            throw InvalidPathException();
        const T directory[] = {letter, PATH_DRIVE_SEPARATOR, 0};
        PathCalls<T>::GetFullPathNameWrp(directory, &text);
    }
    return PathT(String(text.begin(), text.end()));
}

// ---- Network ------------------------------------------------------------------------------------------------

// Empty when the computer has no name.
template <class T>
typename PathT<T>::String PathT<T>::ComputerName()
{
    typename PathCalls<T>::Text name;
    PathCalls<T>::GetComputerNameWrp(&name);
    return String(name.begin(), name.end());
}

template <class T>
bool PathT<T>::IsLocal() const
{
    if (IsUNC())
        return ToAsciiLower(ComputerName()) == ToAsciiLower(ServerOf(m_fullPath));
    return PathCalls<T>::GetDriveTypeWrp(Root().c_str()) != KivSys::DriveRemote;
}

// Stores the universal name of the path, or of its root where the path is no question that the system answers, and
// returns the error code of the last answer.
template <class T>
std::uint32_t PathT<T>::AskUniversalName(String& name) const
{
    std::vector<KivSys::UniversalNameInfo<T>> buffer;
    const auto ask = [&buffer](const String& path, KivSys::DWORD size) {
        KivSys::DWORD answer = KivSys::ErrorMoreData;
        for (int attempt = 0; attempt < 2 && answer == KivSys::ErrorMoreData; ++attempt) {
            buffer.resize(size / sizeof buffer[0] + 1);
            answer = PathCalls<T>::WNetGetUniversalNameWrp(path.c_str(), buffer.data(), &size);
        }
        return answer;
    };
    constexpr KivSys::DWORD bufferSize = 4096;
    KivSys::DWORD answer = ask(m_fullPath, bufferSize);
    if (answer == KivSys::ErrorInvalidParameter && HasDrive())
        answer = ask(Root(), bufferSize);
    if (answer == KivSys::ErrorSuccess)
        name = buffer.front().universalName;
    return answer;
}

template <class T>
bool PathT<T>::GetFullPathAsUNC(String& result) const
{
    return AskUniversalName(result) == KivSys::ErrorNotConnected;
}

template <class T>
typename PathT<T>::String PathT<T>::GetServer() const
{
    if (IsUNC())
        return ServerOf(m_fullPath);
    String universalName;
    if (AskUniversalName(universalName) == KivSys::ErrorSuccess)
        return ServerOf(universalName);
    if (HasDrive()) {
        const String drive = m_fullPath.substr(0, 2);
        const unsigned int type = PathCalls<T>::GetDriveTypeWrp(drive.c_str());
        if (type == KivSys::DriveUnknown || type == KivSys::DriveNoRootDir)
            Throw(PathTThrow::DriveDoesNotExist, m_fullPath, drive);
    }
    const String name = ComputerName();
    if (name.empty())
        Throw(PathTThrow::CannotRetrieveServer, m_fullPath);
    return name;
}

// ---- Letter case --------------------------------------------------------------------------------------------

template <class T>
void PathT<T>::RetrieveCasing()
{
    if (!Exists())
        return;
    const String stored = StoredCasing();
    if (IsEqualNoCase(stored, m_fullPath))
        m_fullPath = stored;
}

// The path as far as it was found.
template <class T>
typename PathT<T>::String PathT<T>::StoredCasing() const
{
    const View<T> text = m_fullPath;
    const std::size_t driveLength = HasDrive() ? 2 : 0;
    const std::size_t nameStart = PathText::FileNameStart<T>(text);
    const View<T> name = text.substr(nameStart);
    const View<T> stem = name.substr(0, name.rfind(PathText::DOT));
    const std::vector<View<T>> directory = Components<T>(text.substr(driveLength, nameStart - driveLength));
    std::size_t next = 0;
    String result = ToAsciiUpper(String(text.substr(0, driveLength)));
    if (IsUNC()) {
        const String server = GetServer();
        result = ToAsciiLower(PATH_UNC_ROOT + server);
        if (directory.size() < 2)
            return IsEqualNoCase(stem, server) ? result : result.append(1, PATH_SEPARATOR).append(stem);
        result.append(1, PATH_SEPARATOR).append(directory[1]);
        next = 2;
    }
    // A name that begins with its only dot is an extension without a name: its directories are not looked up.
    while (!stem.empty() && next < directory.size() && AppendStoredName<T>(result, directory[next]))
        ++next;
    if (!name.empty())
        AppendStoredName<T>(result, name);
    if (text.ends_with(PathText::SEPARATOR))
        result += PATH_SEPARATOR;
    return result;
}

// What is defined in this file.
template class PathT<char>;
template class PathT<unsigned short>;

} // namespace KivFile
