#include <KivFile/DiskSpaceWatcher.h>

#include <algorithm>
#include <vector>

#include <KivBase/NoCase.h>
#include <KivFile/Path.h>
#include <platform/Platform.h>

#include "Worker.h"

namespace KivFile
{

using KivThread::CriticalSection;
using Notifications = std::vector<DiskSpaceWatcherNotification>;

namespace
{

struct WatchedPath {
    std::string path;
    std::uint64_t required;

    // Adds a notification when the path is a directory with less room than required.
    void Look(Notifications& shortages) const
    {
        PathT<char> directory(path);
        std::uint64_t available = 0;
        // Enough room settles it, whatever lies there: one call of the system instead of three.
        if (KivSys::GetDiskFreeSpaceExA(directory.FullPath().c_str(), &available) && available >= required)
            return;
        if (!directory.IsDirectory())
            return;
        available = directory.GetAvailableDiskSpace();
        // No room at all is also what is said of a directory that is gone by now.
        directory.ClearAttributes();
        if (available < required && (available > 0 || directory.IsDirectory()))
            shortages.emplace_back(path, available, required);
    }
};

} // namespace

class DiskSpaceWatcher::Watch : public Worker
{
public:
    Watch(const Kiv::SmartPtr<KivThread::Function>& callback, unsigned int intervalSeconds)
        : Worker("DiskSpaceWatcher"), m_callback(callback), m_interval(std::uint64_t{intervalSeconds} * 1000)
    {
    }

    void Add(const std::string& path, std::uint64_t required)
    {
        const CriticalSection::Lock lock(m_entriesLock);
        m_entries.push_back({path, required});
    }

    void Remove(const std::string& path)
    {
        const CriticalSection::Lock lock(m_entriesLock);
        const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&path](const WatchedPath& entry) {
            return Kiv::NoCase::IsEqual(entry.path, path);
        });
        if (found != m_entries.end())
            m_entries.erase(found);
    }

    void Clear()
    {
        const CriticalSection::Lock lock(m_entriesLock);
        m_entries.clear();
    }

private:
    void Work(Turn& turn) override
    {
        while (!turn.IsStopped()) {
            Notifications shortages = Look();
            if (!shortages.empty())
                (*m_callback)(&shortages);
            SleepForInterval(turn);
        }
    }

    Notifications Look()
    {
        Notifications shortages;
        const CriticalSection::Lock lock(m_entriesLock);
        for (const WatchedPath& entry : m_entries)
            entry.Look(shortages);
        return shortages;
    }

    // One sleep is 49 days at most.
    void SleepForInterval(Turn& turn) const
    {
        constexpr std::uint64_t longest = KivThread::WAIT_FOREVER - 1;
        for (std::uint64_t left = m_interval; left > 0 && !turn.IsStopped(); left -= std::min(left, longest))
            turn.Sleep(static_cast<std::uint32_t>(std::min(left, longest)));
    }

    const Kiv::SmartPtr<KivThread::Function> m_callback;
    const std::uint64_t m_interval; // milliseconds
    CriticalSection m_entriesLock{WATCHER_SPIN_COUNT};
    std::vector<WatchedPath> m_entries; // guarded by it
};

DiskSpaceWatcher::DiskSpaceWatcher(const Kiv::SmartPtr<KivThread::Function>& callback, unsigned int intervalSeconds)
    : m_watch(std::make_shared<Watch>(callback, intervalSeconds))
{
    m_watch->Start();
}

DiskSpaceWatcher::~DiskSpaceWatcher()
{
    m_watch->Close();
}

void DiskSpaceWatcher::AddWatchedPath(const std::string& path, std::uint64_t requiredBytes)
{
    m_watch->Add(path, requiredBytes);
}

void DiskSpaceWatcher::RemoveWatchedPath(const std::string& path)
{
    m_watch->Remove(path);
}

void DiskSpaceWatcher::ClearWatchedPaths()
{
    m_watch->Clear();
}

void DiskSpaceWatcher::Pause()
{
    m_watch->Stop();
}

void DiskSpaceWatcher::Resume()
{
    m_watch->Start();
}

bool DiskSpaceWatcher::Paused() const
{
    return m_watch->IsStopped();
}

} // namespace KivFile
