#include <KivFile/DirectoryWalker.h>

#include <algorithm>
#include <utility>

#include <KivBase/NoCase.h>

#include <platform/Platform.h>

namespace KivFile
{

using Path = PathT<char>;

DirectoryWalker::Handler::~Handler() = default;

const std::string DirectoryWalker::DEFAULT_PATH_FILTER = "*.*";

// Where the walk is to start, in lower case. The directory ends in a backslash.
struct DirectoryWalker::ResumePoint {
    std::string file;
    std::string directory;

    // Whether one of the two directories lies in the other one.
    bool IsOnTheWay(const Path& entry) const
    {
        const std::string own = Kiv::ToLower(entry.Directory());
        const std::size_t length = std::min(own.size(), directory.size());
        return own.compare(0, length, directory, 0, length) == 0;
    }
};

DirectoryWalker::DirectoryWalker() = default;

DirectoryWalker::~DirectoryWalker() = default;

void DirectoryWalker::AddHandler(const Kiv::SmartPtr<Handler>& handler)
{
    m_handlers.push_back(handler);
}

void DirectoryWalker::Stop()
{
    m_stopped = true;
}

bool DirectoryWalker::HasBeenStopped() const
{
    return m_stopped;
}

// Keeps the levels of the tree in a list of its own, as the stack has no room for the deepest ones.
void DirectoryWalker::Walk(const Path& directory, const std::string& filter, bool recursive,
                           const std::string& resumeAfter)
{
    struct Level {
        std::vector<Path> directories;
        std::size_t next = 0;
    };
    m_started = m_started || resumeAfter.empty();
    ResumePoint resume;
    if (!m_started) {
        const Path path(resumeAfter);
        resume = {path.FullPathLowerCase(), Kiv::ToLower(path.Directory())};
    }
    std::vector<Path> entries; // of one directory after the other, so that the room of their texts is used again
    std::vector<Level> levels;
    levels.push_back({HandleDirectory(directory, filter, recursive, resume, entries, true)});
    while (!levels.empty() && !m_stopped) {
        Level& level = levels.back();
        if (level.next == level.directories.size()) {
            levels.pop_back();
            continue;
        }
        const Path& next = level.directories[level.next++];
        if (m_started || resume.IsOnTheWay(next))
            levels.push_back({HandleDirectory(next, filter, recursive, resume, entries, false)});
    }
}

// Handles the files and returns the sub-directories that are to be walked. The lists of the directory that the walk was
// given for leave their dates with it like any list; what is not needed of the others' entries is not asked for.
std::vector<Path> DirectoryWalker::HandleDirectory(const Path& directory, const std::string& filter, bool recursive,
                                                   const ResumePoint& resume, std::vector<Path>& entries, bool isGiven)
{
    const bool stop = false;
    KivSys::DWORD fileFlags = KivSys::FindBasicInfo;
    KivSys::DWORD directoryFlags = KivSys::FindBasicInfo;
    if (!isGiven) {
        fileFlags |= KivSys::FindBareDirectories | KivSys::FindNoLink;
        directoryFlags |= KivSys::FindBareDirectories | KivSys::FindNoLink | KivSys::FindLimitToDirectories;
    }
    std::size_t count = 0;
    directory.List(entries, count, stop, filter, fileFlags);
    for (std::size_t i = 0; i < count; ++i) {
        if (m_stopped)
            return {};
        if (entries[i].IsFile())
            HandleFile(entries[i], resume);
    }
    if (!recursive)
        return {};
    // A new list, because the handlers may have changed the directory.
    count = 0;
    directory.List(entries, count, stop, DEFAULT_PATH_FILTER, directoryFlags);
    std::vector<Path> directories;
    for (std::size_t i = 0; i < count; ++i) {
        if (entries[i].IsDirectory() && !entries[i].IsLink())
            directories.push_back(std::move(entries[i]));
    }
    return directories;
}

void DirectoryWalker::HandleFile(const Path& file, const ResumePoint& resume)
{
    m_started = m_started || file.FullPathLowerCase() == resume.file;
    if (!m_started)
        return;
    // By index: a handler may add further ones, which then see this file too.
    for (std::size_t i = 0; i < m_handlers.size(); ++i)
        m_stopped = !m_handlers[i]->HandleFile(file);
}

} // namespace KivFile
