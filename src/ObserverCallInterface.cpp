#include <KivFile/ObserverCallInterface.h>

#include <deque>
#include <utility>

#include <KivFile/Path.h>

#include "Worker.h"

namespace KivFile
{

using KivThread::CriticalSection;

// Handles an observer's events. Touches the observer only while a handler of it runs.
class ObserverCallInterface::EventWorker : public Worker
{
public:
    explicit EventWorker(ObserverCallInterface& observer) : Worker("Observer::ProcessEvents"), m_observer(observer) {}

    void Add(const std::vector<DeviceEvent>& events)
    {
        {
            const CriticalSection::Lock lock(m_queueLock);
            m_queue.insert(m_queue.end(), events.begin(), events.end());
        }
        Wake();
    }

private:
    // Looks for events before it sleeps: an earlier turn may have left some.
    void Work(Turn& turn) override
    {
        while (!turn.IsStopped()) {
            if (TakeEvents())
                HandleFirst();
            else
                turn.Sleep();
        }
    }

    // Whether there are events to handle.
    bool TakeEvents()
    {
        if (m_taken.empty()) {
            const CriticalSection::Lock lock(m_queueLock);
            m_taken.swap(m_queue);
        }
        return !m_taken.empty();
    }

    void HandleFirst()
    {
        const DeviceEvent event = std::move(m_taken.front());
        m_taken.pop_front();
        if (event.kind == 2)
            m_observer.OnKind2(event.path, event.value);
        else if (event.kind < 2)
            HandleByPath(event);
    }

    void HandleByPath(const DeviceEvent& event)
    {
        const PathT<unsigned short> path(event.path);
        if (event.kind == 0 && path.IsFile())
            m_observer.OnKind0File(event.path, event.value);
        else if (event.kind == 1 && path.IsDirectory())
            m_observer.OnKind1Directory(event.path, event.value);
        else if (event.kind == 1 && path.IsFile())
            m_observer.OnKind1File(event.path, event.value);
    }

    ObserverCallInterface& m_observer;
    CriticalSection m_queueLock{WATCHER_SPIN_COUNT};
    std::deque<DeviceEvent> m_queue; // guarded by it
    // What was in the queue when the worker last looked: older than all that is there now. Only the worker touches it,
    // and the next turn goes on with what one leaves.
    std::deque<DeviceEvent> m_taken;
};

ObserverCallInterface::ObserverCallInterface() : m_worker(std::make_shared<EventWorker>(*this)) {}

ObserverCallInterface::~ObserverCallInterface()
{
    m_worker->Close();
}

void ObserverCallInterface::EventsOccurred(const std::vector<DeviceEvent>& events)
{
    m_worker->Add(events);
}

void ObserverCallInterface::Start()
{
    m_worker->Start();
}

void ObserverCallInterface::Shutdown()
{
    m_worker->Stop();
}

void ObserverCallInterface::WaitForWorker()
{
    m_worker->Wait();
}

void ObserverCallInterface::Destroy(const ObserverCallInterface* observer)
{
    observer->m_worker->Close();
    delete observer;
}

} // namespace KivFile
