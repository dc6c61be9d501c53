// Events: one thread waits until another one signals.
#pragma once

#include <cstdint>

#include <KivBase/Export.h>
#include <KivBase/Handle.h>

namespace KivThread
{

// A time-out that never passes; others are milliseconds.
constexpr std::uint32_t WAIT_FOREVER = 0xFFFFFFFF;

// An event, not signalled at first. All operations may be called from any thread; all throw ThreadException when the
// system refuses them.
class KIV_EXPORT EventSemaphore
{
public:
    // What ends the signalled state: Reset alone, or also the one wait that the signal ends.
    enum ResetMode { ManualReset, AutoReset };

    explicit EventSemaphore(ResetMode mode);

    void Signal();
    void Reset();

    // Waits until the event is signalled. False when the time passes first.
    bool Wait(std::uint32_t milliseconds = WAIT_FOREVER);

private:
    Kiv::Handle m_event;
};

} // namespace KivThread
