// Watches directories for a shortage of disk space.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <KivBase/SmartPtr.h>
#include <KivFile/DiskSpaceWatcherNotification.h>
#include <KivFile/Export.h>
#include <KivThread/Function.h>

namespace KivFile
{

// Asks again and again, on a worker thread of its own, how much room each of a list of directories has, and calls back
// with those that have less than they need.
//
// The first look is taken at once when the worker starts, the next ones an interval after the end of the one before. A
// shortage is reported at every look for as long as it lasts. What does not exist, or is no directory, at the time of a
// look is passed over silently and looked at again the next time, and so is a directory that goes away (is removed or
// unmounted) while it is looked at.
//
// The callback gets a pointer to a std::vector<DiskSpaceWatcherNotification>, never empty, in the order in which the
// directories were added; the list is gone when the callback returns:
//
//     const auto report = KivThread::MakeFunction([](void* list) {
//         for (const auto& shortage : *static_cast<std::vector<DiskSpaceWatcherNotification>*>(list))
//             ...
//     });
//
// It runs on the worker, never twice at the same time, whatever is paused and resumed, and may call every operation of
// the watcher, or drop the last share of it, which a variable of the worker's thread must not hold. A callback that
// throws ends the worker until the next Resume.
//
// Held by Kiv::SmartPtr. Any thread may call any operation. Throws ThreadException when the system refuses a thread or
// an event.
class KIVFILE_EXPORT DiskSpaceWatcher : public Kiv::SPRefCounter
{
public:
    // Starts to watch. callback: not null, kept for the watcher's life. intervalSeconds: 0 looks without a pause.
    DiskSpaceWatcher(const Kiv::SmartPtr<KivThread::Function>& callback, unsigned int intervalSeconds);
    DiskSpaceWatcher(const DiskSpaceWatcher&) = delete;
    DiskSpaceWatcher& operator=(const DiskSpaceWatcher&) = delete;
    // Afterwards no callback runs or will run. Waits for one that does, unless it is the caller.
    ~DiskSpaceWatcher() override;

    // Adds a directory behind the others, from the next look on. One that is added twice is reported twice.
    void AddWatchedPath(const std::string& path, std::uint64_t requiredBytes);
    // Takes the first directory off the list whose path is this one, letter case of ASCII letters aside; does nothing
    // where there is none.
    void RemoveWatchedPath(const std::string& path);
    void ClearWatchedPaths();

    // Ends the worker, without waiting for it: a callback that runs goes on to its end.
    void Pause();
    // Starts a worker, which begins when its predecessor has ended. Does nothing while one runs.
    void Resume();
    // Whether Pause was called, and Resume not since. A worker that an exception ended is not paused.
    [[nodiscard]] bool Paused() const;

private:
    class Watch;

    std::shared_ptr<Watch> m_watch; // shared with the worker
};

} // namespace KivFile
