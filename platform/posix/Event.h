// The event that threads wait for.
#pragma once

#include <atomic>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <platform/posix/Object.h>

namespace KivSys
{

// An event in one word: whether it is signalled, how many wait for it and how many of those have been released. A
// signal releases those that wait when it comes, whatever happens to the event before they run. Signalling an event
// that nobody waits for is no call of the system, and a woken thread has no lock to wait for: it runs in half the time
// of one that a condition variable wakes. A signal handler may signal it.
class Event : public Object
{
public:
    explicit Event(bool manualReset) : m_manualReset(manualReset) {}

    bool SetSignalled(bool signalled) override
    {
        // A waiter may destroy the event as soon as it is released: then only the address is used.
        const std::uint32_t* const address = GenerationAddress();
        std::uint64_t state = m_state;
        std::uint64_t next = 0;
        do
            next = signalled ? Signalled(state) : state & ~SIGNALLED;
        while (!m_state.compare_exchange_weak(state, next));
        if ((state & GENERATION) != (next & GENERATION))
            ::syscall(SYS_futex, address, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
        return true;
    }

    DWORD Wait(DWORD milliseconds) override
    {
        std::uint64_t state = m_state;
        std::uint64_t next = 0;
        do {
            if ((state & SIGNALLED) != 0)
                next = m_manualReset ? state : state & ~SIGNALLED;
            else if (milliseconds != 0)
                next = state + ONE_WAITER;
            else
                return WaitTimeout;
        } while (!m_state.compare_exchange_weak(state, next));
        if ((state & SIGNALLED) != 0)
            return WaitObject0;
        const timespec deadline = TimeAfter(milliseconds);
        return WaitForRelease(state & GENERATION, milliseconds == Infinite ? nullptr : &deadline);
    }

private:
    // The lowest half changes with every signal that releases somebody, and is what waiters sleep on.
    static constexpr std::uint64_t SIGNALLED = 1;
    static constexpr std::uint64_t ONE_GENERATION = 2;
    static constexpr std::uint64_t GENERATION = 0xFFFFFFFE;
    static constexpr std::uint64_t ONE_WAITER = std::uint64_t{1} << 32;
    static constexpr std::uint64_t WAITERS = 0xFFFF * ONE_WAITER;
    // Only a signal that releases one waiter counts them; it may be any that waited when it came.
    static constexpr std::uint64_t ONE_RELEASE = std::uint64_t{1} << 48;

    std::uint64_t Signalled(std::uint64_t state) const
    {
        const std::uint64_t waiters = (state & WAITERS) / ONE_WAITER;
        const std::uint64_t released = m_manualReset ? 0 : state / ONE_RELEASE;
        if (released == waiters)
            return state | SIGNALLED;
        const std::uint64_t next = m_manualReset ? state | SIGNALLED : state + ONE_RELEASE;
        return (next & ~GENERATION) | ((next + ONE_GENERATION) & GENERATION);
    }

    // The wait of one that began in a generation.
    DWORD WaitForRelease(std::uint64_t generation, const timespec* deadline)
    {
        for (bool isInTime = true;;) {
            std::uint64_t state = m_state;
            const bool isReleased = (state & GENERATION) != generation && (m_manualReset || state >= ONE_RELEASE);
            const std::uint64_t taken = isReleased && !m_manualReset ? ONE_RELEASE : 0;
            if (!isReleased && isInTime)
                isInTime = Sleep(static_cast<std::uint32_t>(state), deadline);
            else if (m_state.compare_exchange_weak(state, state - ONE_WAITER - taken))
                return isReleased ? WaitObject0 : WaitTimeout;
        }
    }

    // Sleeps while nothing changes. False when the time has passed.
    bool Sleep(std::uint32_t word, const timespec* deadline) const
    {
        return ::syscall(SYS_futex, GenerationAddress(), FUTEX_WAIT_BITSET_PRIVATE, word, deadline, nullptr,
                         FUTEX_BITSET_MATCH_ANY) == 0 ||
               errno != ETIMEDOUT;
    }

    const std::uint32_t* GenerationAddress() const
    {
        return reinterpret_cast<const std::uint32_t*>(&m_state) + (std::endian::native == std::endian::little ? 0 : 1);
    }

    static timespec TimeAfter(DWORD milliseconds)
    {
        timespec time;
        ::clock_gettime(CLOCK_MONOTONIC, &time);
        const long nanoseconds = time.tv_nsec + milliseconds % 1000 * 1'000'000L;
        return {time.tv_sec + milliseconds / 1000 + nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    }

    std::atomic<std::uint64_t> m_state = 0;
    static_assert(sizeof m_state == sizeof(std::uint64_t) && std::atomic<std::uint64_t>::is_always_lock_free);
    const bool m_manualReset;
};

} // namespace KivSys
