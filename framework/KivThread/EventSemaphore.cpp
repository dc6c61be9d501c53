#include <KivThread/EventSemaphore.h>

#include <KivThread/ThreadException.h>
#include <KivThread/Wait.h>
#include <platform/Platform.h>

namespace KivThread
{

static_assert(WAIT_FOREVER == KivSys::Infinite);

EventSemaphore::EventSemaphore(ResetMode mode) : m_event(KivSys::CreateEventW(mode == ManualReset))
{
    if (!m_event.IsValid())
        ThrowLastError();
}

void EventSemaphore::Signal()
{
    if (!KivSys::SetEvent(m_event.Get()))
        ThrowLastError();
}

void EventSemaphore::Reset()
{
    if (!KivSys::ResetEvent(m_event.Get()))
        ThrowLastError();
}

bool EventSemaphore::Wait(std::uint32_t milliseconds)
{
    return WaitFor(m_event.Get(), milliseconds);
}

bool WaitFor(void* object, std::uint32_t milliseconds)
{
    switch (KivSys::WaitForSingleObject(object, milliseconds)) {
    case KivSys::WaitObject0:
    case KivSys::WaitAbandoned:
        return true;
    case KivSys::WaitTimeout:
        return false;
    default:
        ThrowLastError();
    }
}

} // namespace KivThread
