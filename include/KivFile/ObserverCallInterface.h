// Handles file-system events one at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <KivBase/SmartPtr.h>
#include <KivFile/DeviceEvent.h>
#include <KivFile/Export.h>

namespace KivFile
{

// Base of clients that are told about file-system events. An event source hands over batches of events from any thread;
// the observer queues them, and a worker thread of its own takes them out in order and calls a handler for each:
//
//     kind   the path is an existing file   an existing directory   neither
//     0      OnKind0File                    -                       -
//     1      OnKind1File                    OnKind1Directory        -
//     2      OnKind2, without a look at the path
//
// What the path is, is asked when the event's turn comes; an empty path is the current directory. Events of other kinds
// are dropped.
//
// Handlers run on the worker, outside all locks, never two at the same time, whatever is shut down and started. They
// get the event's own path and value and may call every operation of the observer, or drop the last share of it. A
// handler that throws ends the worker until the next Start; its event counts as handled.
//
// Best held by Kiv::SmartPtr: when the last share is dropped, the worker is stopped and waited for before the object is
// taken apart, so that it may be dropped at any time, running or not. (A share that a handler takes during that wait
// must not outlive the handler; a variable of the worker's thread must not hold the last one.) A client that destroys
// its observer in another way calls Shutdown and then WaitForWorker first: the destructor here waits, too, but by then
// the handlers of the derived class are gone.
//
// Any thread may call any operation. Throws ThreadException when the system refuses a thread or an event.
class KIVFILE_EXPORT ObserverCallInterface : public Kiv::RefCountedT<ObserverCallInterface>
{
public:
    // No events, not started.
    ObserverCallInterface();
    ObserverCallInterface(const ObserverCallInterface&) = delete;
    ObserverCallInterface& operator=(const ObserverCallInterface&) = delete;
    // Afterwards no handler runs or will run. Waits for the worker, unless that is the caller.
    virtual ~ObserverCallInterface();

    // The handlers.
    virtual void OnKind1File(const Kiv::WString& path, std::uint32_t value) = 0;
    virtual void OnKind0File(const Kiv::WString& path, std::uint32_t value) = 0;
    virtual void OnKind1Directory(const Kiv::WString& path, std::uint32_t value) = 0;
    virtual void OnKind2(const Kiv::WString& path, std::uint32_t value) = 0;
    // For event sources that have lost events at or below a path. Never called from here, so on no particular thread.
    virtual void OnEventsLost(const Kiv::WString& path, std::uint32_t value) = 0;

    // Queues the events behind the others. Without a worker they stay queued for the next one.
    virtual void EventsOccurred(const std::vector<DeviceEvent>& events);

    // Starts a worker, which begins when its predecessor has ended, with what that left in the queue. Does nothing
    // while one runs.
    void Start();
    // Ends the worker, without waiting for it: a handler that runs goes on to its end, and the events behind its own
    // stay queued.
    void Shutdown();
    // Waits until the worker has ended, which it does after a Shutdown. Returns at once on the worker itself.
    void WaitForWorker();

private:
    friend class Kiv::RefCountedT<ObserverCallInterface>;
    class EventWorker;

    // Stops the worker and waits for it, unless it is the caller, before the object is taken apart.
    static void Destroy(const ObserverCallInterface* observer);

    std::shared_ptr<EventWorker> m_worker; // shared with the worker's thread
};

} // namespace KivFile
