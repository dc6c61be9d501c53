#include "Worker.h"

namespace KivFile
{

using KivThread::CriticalSection;
using KivThread::Thread;

Worker::Worker(const std::string& threadName) : m_threadName(threadName) {}

Worker::~Worker() = default;

void Worker::Start()
{
    const CriticalSection::Lock lock(m_lock);
    if (m_isClosed || (m_turn && m_takesTurns))
        return;
    auto turn = std::make_shared<Turn>();
    if (!m_takesTurns)
        StartThread();
    m_turn = std::move(turn);
}

void Worker::StartThread()
{
    // The thread before has nothing more to do, but may still be dropping what it owned.
    const auto body = [self = shared_from_this(), before = m_thread](void*) {
        if (before)
            before->Wait();
        self->TakeTurns();
    };
    const auto thread = Kiv::MakeShared<Thread>(m_threadName, KivThread::MakeFunction(body));
    thread->Start();
    m_thread = thread;
    m_takesTurns = true;
}

void Worker::TakeTurns()
{
    std::shared_ptr<Turn> turn;
    while ((turn = TurnAfter(turn)) != nullptr) {
        try {
            Work(*turn);
        } catch (...) {
            // Ends this turn and no other: one that began in the meantime is still to be taken.
        }
    }
}

// Null, and the thread's end, when no turn began since then.
std::shared_ptr<Worker::Turn> Worker::TurnAfter(const std::shared_ptr<Turn>& ended)
{
    const CriticalSection::Lock lock(m_lock);
    m_takesTurns = m_turn != ended && m_turn != nullptr;
    return m_takesTurns ? m_turn : nullptr;
}

void Worker::Stop()
{
    const CriticalSection::Lock lock(m_lock);
    if (m_turn)
        m_turn->Stop();
    m_turn = nullptr;
}

bool Worker::IsStopped() const
{
    const CriticalSection::Lock lock(m_lock);
    return m_turn == nullptr;
}

void Worker::Wait() const
{
    Kiv::SmartPtr<Thread> thread;
    {
        const CriticalSection::Lock lock(m_lock);
        thread = m_thread;
    }
    if (thread)
        thread->Wait();
}

void Worker::Close()
{
    {
        const CriticalSection::Lock lock(m_lock);
        m_isClosed = true;
        Stop();
    }
    Wait();
}

void Worker::Wake() const
{
    std::shared_ptr<Turn> turn;
    {
        const CriticalSection::Lock lock(m_lock);
        turn = m_turn;
    }
    if (turn)
        turn->Wake();
}

void Worker::Turn::Stop()
{
    m_isStopped = true;
    m_wake.Signal();
}

} // namespace KivFile
