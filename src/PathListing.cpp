// The members of PathT that list a directory and delete a tree.
#include <functional>
#include <string_view>
#include <vector>

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

// Makes the texts of a directory's entries.
template <class T>
class EntryText
{
public:
    using String = typename PathT<T>::String;
    using View = PathText::View<T>;

    // The directory's text, which is not copied, ends in a separator.
    explicit EntryText(View directory) : m_directory(directory), m_isPlain(PathText::IsPlainDirectory<T>(directory)) {}

    // Makes a text the canonical one of an entry. Few have to be normalised, which takes half as long as making the
    // path.
    void Assign(String& to, View name) const
    {
        to.clear();
        to.reserve(m_directory.size() + name.size());
        to.append(m_directory).append(name);
        if (!m_isPlain || !PathText::IsPlainName<T>(name))
            PathText::Normalize(to);
    }

private:
    View m_directory;
    bool m_isPlain;
};

// Where a path stands in a vector; the vector's size when it is none of its elements.
template <class Path>
std::size_t IndexIn(const std::vector<Path>& paths, const Path* path)
{
    const Path* const begin = paths.data();
    const bool isInside = std::less_equal<>()(begin, path) && std::less<>()(path, begin + paths.size());
    return isInside ? static_cast<std::size_t>(path - begin) : paths.size();
}

} // namespace

// Calls visit(texts of entries, search record) for each entry. From the first call on this path itself is not used, as
// it may move.
template <class T>
template <class Visit>
void PathT<T>::ForEachEntry(const bool& stop, const String& filter, std::uint32_t findFlags, Visit visit) const
{
    using Calls = PathCalls<T>;
    if (!IsDirectory())
        return;
    const std::size_t ownLength = m_fullPath.size();
    String pattern = Directory();
    const std::size_t directoryLength = pattern.size();
    pattern += filter;
    typename Calls::FindData found;
    const Kiv::FindHandle search(Calls::FindFirstFileWrp(pattern.c_str(), &found, findFlags));
    if (!search.IsValid())
        return;
    const EntryText<T> text(PathText::View<T>(pattern).substr(0, directoryLength));
    do {
        if (!IsDots(found.name))
            visit(text, found);
    } while (!stop && Calls::FindNextFileWrp(search.Get(), &found));
    if (!stop && KivSys::GetLastError() != KivSys::ErrorNoMoreFiles)
        PathTThrow::ThrowError(PathTThrow::CannotListAllFiles, pattern.substr(0, ownLength), PATH_EMPTY_STRING);
}

// Makes this path that of an entry: all that the search record says is remembered but its date. The high half of the
// size is left out.
template <class T>
template <class Text, class Record>
void PathT<T>::TakeEntry(const Text& text, const Record& record)
{
    text.Assign(m_fullPath, {record.name.data(), record.name.size()});
    m_fullPathLowerCase.clear();
    m_attributes = static_cast<std::int32_t>(record.attributes);
    m_lastModificationDate = Kiv::DateTime();
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
    std::size_t size = out.size();
    List(out, size, stop, filter, KivSys::FindBasicInfo);
}

// Puts the entries behind the first size paths of out, in place of those that are there, and counts them in size;
// findFlags says what the search may leave out.
template <class T>
void PathT<T>::List(std::vector<PathT>& out, std::size_t& size, const bool& stop, const String& filter,
                    std::uint32_t findFlags) const
{
    // The date of narrow entries is remembered by their directory, where callers look for it. It may be an element of
    // out itself, which moves as out grows.
    constexpr bool entryHasDate = std::same_as<T, unsigned short>;
    const std::size_t index = IndexIn(out, this);
    const bool isInside = index < out.size();
    ForEachEntry(stop, filter, findFlags, [&](const auto& text, const auto& record) {
        PathT& entry = size < out.size() ? out[size] : out.emplace_back();
        ++size;
        entry.TakeEntry(text, record);
        const PathT& dated = entryHasDate ? entry : isInside ? out[index] : *this;
        dated.m_lastModificationDate = DateOf(record.lastWriteTime);
    });
}

template <class T>
void PathT<T>::GetFileListSP(std::vector<Kiv::SmartPtr<PathT>>& out, const String& filter) const
{
    const bool stop = false;
    ForEachEntry(stop, filter, KivSys::FindBasicInfo, [&](const auto& text, const auto& record) {
        PathT& entry = *out.emplace_back(Kiv::MakeShared<PathT>());
        entry.TakeEntry(text, record);
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
            std::size_t size = 0;
            if (!p.IsLink())
                p.List(entries, size, stop, PATH_DEFAULT_FILTER, KivSys::FindNoLink);
        }

        PathT* path;
        std::vector<PathT> entries; // stay where they are when the level moves
        std::size_t next = 0;
        bool isFresh = true; // nothing that takes long has been done since the list was made
    };
    std::vector<Level> levels;
    levels.emplace_back(*this);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.entries.size()) {
            level.path->Delete(force);
            levels.pop_back();
            continue;
        }
        PathT& entry = level.entries[level.next++];
        if (entry.IsDirectory()) {
            level.isFresh = false;
            levels.emplace_back(entry);
        } else {
            entry.DeleteOne(force, level.isFresh);
        }
    }
}

// What is defined in this file.
template class PathT<char>;
template class PathT<unsigned short>;

} // namespace KivFile
