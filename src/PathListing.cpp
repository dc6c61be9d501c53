// The members of PathT that list a directory and delete a tree.
#include <string_view>

#include <KivBase/Handle.h>
#include <KivFile/Path.h>

#include "PathCalls.h"
#include "PathInfo.h"
#include "PathText.h"
#include "PathThrow.h"

namespace KivFile
{

namespace
{

template <class Name>
bool IsDots(const Name& name)
{
    constexpr std::string_view dots = "..";
    return !name.empty() && name.size() <= 2 && std::equal(name.begin(), name.end(), dots.begin());
}

} // namespace

// Calls takeEntry(path text, search record) for each entry.
template <class T>
template <class TakeEntry>
void PathT<T>::ForEachEntry(const bool& stop, const String& filter, std::uint32_t findFlags, TakeEntry takeEntry) const
{
    using Calls = PathCalls<T>;
    if (!IsDirectory())
        return;
    String text = Directory();
    const std::size_t directoryLength = text.size();
    typename Calls::FindData found;
    const Kiv::FindHandle search(Calls::FindFirstFileWrp((text + filter).c_str(), &found, findFlags));
    if (!search.IsValid())
        return;
    do {
        if (IsDots(found.name))
            continue;
        text.resize(directoryLength);
        text.append(found.name.data(), found.name.size());
        takeEntry(text, found);
    } while (!stop && Calls::FindNextFileWrp(search.Get(), &found));
    if (!stop && KivSys::GetLastError() != KivSys::ErrorNoMoreFiles)
        PathTThrow::ThrowError(PathTThrow::CannotListAllFiles, m_fullPath, PATH_EMPTY_STRING);
}

// Remembers all that a search record says but its date. The high half of the size is left out.
template <class T>
template <class Record>
void PathT<T>::TakeInfo(const Record& record)
{
    m_attributes = static_cast<std::int32_t>(record.attributes);
    m_size = record.sizeLow;
}

template <class T>
void PathT<T>::GetFileList(std::vector<PathT>& out, const String& filter) const
{
    const bool stop = false;
    GetFileListInterruptable(out, stop, filter);
}

template <class T>
void PathT<T>::GetFileListInterruptable(std::vector<PathT>& out, const bool& stop, const String& filter) const
{
    List(out, stop, filter, KivSys::FindBasicInfo);
}

// Appends entries; findFlags says what the search may leave out.
template <class T>
void PathT<T>::List(std::vector<PathT>& out, const bool& stop, const String& filter, std::uint32_t findFlags) const
{
    // The date of narrow entries is remembered by their directory, where callers look for it.
    constexpr bool entryHasDate = std::same_as<T, unsigned short>;
    ForEachEntry(stop, filter, findFlags, [&](const String& text, const auto& record) {
        PathT& entry = out.emplace_back(text);
        entry.TakeInfo(record);
        (entryHasDate ? entry : *this).m_lastModificationDate = DateOf(record.lastWriteTime);
    });
}

template <class T>
void PathT<T>::GetFileListSP(std::vector<Kiv::SmartPtr<PathT>>& out, const String& filter) const
{
    const bool stop = false;
    ForEachEntry(stop, filter, KivSys::FindBasicInfo, [&](const String& text, const auto& record) {
        PathT& entry = *out.emplace_back(Kiv::MakeShared<PathT>(text));
        entry.TakeInfo(record);
        entry.m_lastModificationDate = DateOf(record.lastWriteTime);
    });
}

// Keeps the levels of the tree in a list of its own, as the stack has no room for the deepest ones.
template <class T>
void PathT<T>::RecursiveDelete(bool force)
{
    struct Level {
        explicit Level(PathT& p) : path(&p)
        {
            // All attributes at once: each entry will be asked whether it is offline.
            const bool stop = false;
            if (!p.IsLink())
                p.List(entries, stop, PATH_DEFAULT_FILTER, 0);
        }

        PathT* path;
        std::vector<PathT> entries; // stay where they are when the level moves
        std::size_t next = 0;
    };
    std::vector<Level> levels;
    levels.emplace_back(*this);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next < level.entries.size()) {
            levels.emplace_back(level.entries[level.next++]);
        } else {
            level.path->Delete(force);
            levels.pop_back();
        }
    }
}

// What is defined in this file.
template class PathT<char>;
template class PathT<unsigned short>;

} // namespace KivFile
