// Walks through directory trees.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include <KivBase/SmartPtr.h>
#include <KivFile/Export.h>
#include <KivFile/Path.h>

namespace KivFile
{

// Calls handlers for the files of a directory and, when asked to, of the directories below it: the files of a directory
// first, then its sub-directories one after the other, each with all that is below it, in the order in which the file
// system lists them. What a sub-directory holds is listed when the walk comes to it.
//
// A walker is meant for one walk: once stopped, a later walk handles nothing; once it has met its resume point, a later
// walk starts at its first file. Holds shares of its handlers. One thread walks; any thread may stop it.
class KIVFILE_EXPORT DirectoryWalker
{
public:
    // What is done with each file.
    class KIVFILE_EXPORT Handler : public Kiv::SPRefCounter
    {
    public:
        ~Handler() override;
        // Called once for each file; false asks the walk to stop. What it throws leaves Walk.
        virtual bool HandleFile(const PathT<char>& file) = 0;
    };

    // "*.*", which is every name.
    static const std::string DEFAULT_PATH_FILTER;

    DirectoryWalker();
    DirectoryWalker(const DirectoryWalker&) = delete;
    DirectoryWalker& operator=(const DirectoryWalker&) = delete;
    ~DirectoryWalker();

    // Adds a handler behind the others. One that is added twice is called twice.
    void AddHandler(const Kiv::SmartPtr<Handler>& handler);

    // Walks through directory, handling the files whose names match filter. All handlers are called for a file; the
    // answer of the last one decides whether the walk goes on.
    //
    // With recursive the sub-directories are walked as well, whatever their names. A link to a directory (a reparse
    // point) is no file and is not entered; only directory itself may be one. The sub-directories are
    // listed after the files have been handled: one that a handler makes is walked, one that it removes is passed over.
    //
    // With a path in resumeAfter, which is normalised and compared without regard to letter case, the files before that
    // one are passed over, and so are sub-directories that do not lie on the way to it; the file itself is handled.
    //
    // A directory that does not exist or cannot be read has no files. Throws CannotListAllFilesException when a list
    // breaks off.
    void Walk(const PathT<char>& directory, const std::string& filter, bool recursive, const std::string& resumeAfter);

    // Stops the walk before its next file or sub-directory, and every later one; but the handlers' answers for a file
    // that is being handled overrule it.
    void Stop();
    [[nodiscard]] bool HasBeenStopped() const;

private:
    struct ResumePoint;

    [[nodiscard]] std::vector<PathT<char>> HandleDirectory(const PathT<char>& directory, const std::string& filter,
                                                           bool recursive, const ResumePoint& resume,
                                                           std::vector<PathT<char>>& entries, bool isGiven);
    void HandleFile(const PathT<char>& file, const ResumePoint& resume);

    std::vector<Kiv::SmartPtr<Handler>> m_handlers;
    std::atomic<bool> m_stopped = false;
    bool m_started = false; // the resume point has been met
};

} // namespace KivFile
