// Workers that are stopped and started again at any time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include <KivThread/CriticalSection.h>
#include <KivThread/EventSemaphore.h>
#include <KivThread/Thread.h>

namespace KivFile
{

// How often a thread looks again for a lock of a watcher before it sleeps.
constexpr std::uint32_t WATCHER_SPIN_COUNT = 4000;

// What a watcher or an observer shares with its worker: all that the worker touches is a member of a derived class, and
// a running thread has a share of it.
//
// Every start is a turn with a signal of its own, so that a stopped turn stays stopped. Turns never overlap: one that
// starts before its predecessor has ended is taken afterwards by the same thread, and one that is stopped before it
// begins is never taken. So there is one thread at most, however often and from wherever the worker is restarted.
class Worker : public std::enable_shared_from_this<Worker>
{
public:
    explicit Worker(const std::string& threadName);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    virtual ~Worker();

    // Begins a turn, unless one has begun that was neither stopped nor ended by an exception.
    void Start();
    // Ends the turn, without waiting for it.
    void Stop();
    // Whether no turn has begun since the last stop.
    [[nodiscard]] bool IsStopped() const;
    // Waits until the thread has ended. Returns at once on the thread itself.
    void Wait() const;
    // Ends the turn for good and waits: nothing starts any more.
    void Close();

protected:
    class Turn
    {
    public:
        void Stop();
        [[nodiscard]] bool IsStopped() const { return m_isStopped; }

        void Wake() { m_wake.Signal(); }
        // Waits for a Wake or Stop since the last wait.
        void Sleep(std::uint32_t milliseconds = KivThread::WAIT_FOREVER) { m_wake.Wait(milliseconds); }

    private:
        KivThread::EventSemaphore m_wake{KivThread::EventSemaphore::AutoReset};
        std::atomic<bool> m_isStopped = false;
    };

    // What the worker does, until the turn is stopped. An exception ends the turn.
    virtual void Work(Turn& turn) = 0;

    // Wakes the worker if there is one.
    void Wake() const;

private:
    void StartThread();
    void TakeTurns();
    [[nodiscard]] std::shared_ptr<Turn> TurnAfter(const std::shared_ptr<Turn>& ended);

    const std::string m_threadName;
    mutable KivThread::CriticalSection m_lock{WATCHER_SPIN_COUNT}; // guards what follows
    std::shared_ptr<Turn> m_turn;                                  // the last one, null when it was stopped
    Kiv::SmartPtr<KivThread::Thread> m_thread;
    bool m_takesTurns = false; // the thread will look for another turn
    bool m_isClosed = false;
};

} // namespace KivFile
