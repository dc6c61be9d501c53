// The event that threads wait for.
#pragma once

#include <atomic>
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

// An event in one word: whether it is signalled, and how many wait for it. Signalling one that nobody waits for is no
// call of the system, and a woken thread has no lock to wait for: it runs in half the time of one that a condition
// variable wakes. A signal handler may signal it.
class Event : public Object
{
public:
    explicit Event(bool manualReset) : m_manualReset(manualReset) {}

    bool SetSignalled(bool signalled) override
    {
        if (!signalled) {
            m_word &= ~SIGNALLED;
            return true;
        }
        // A waiter may destroy the event as soon as it is signalled: then only the address is used.
        std::atomic<std::uint32_t>* const word = &m_word;
        const std::uint32_t before = word->fetch_or(SIGNALLED);
        if (before >= ONE_WAITER && (before & SIGNALLED) == 0)
            ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
        return true;
    }

    DWORD Wait(DWORD milliseconds) override
    {
        if (Take(0))
            return WaitObject0;
        if (milliseconds == 0)
            return WaitTimeout;
        const timespec deadline = TimeAfter(milliseconds);
        m_word += ONE_WAITER;
        while (Sleep(milliseconds == Infinite ? nullptr : &deadline)) {
            if (Take(ONE_WAITER))
                return WaitObject0;
        }
        m_word -= ONE_WAITER;
        return WaitTimeout;
    }

private:
    static constexpr std::uint32_t SIGNALLED = 1;
    static constexpr std::uint32_t ONE_WAITER = 2;

    static timespec TimeAfter(DWORD milliseconds)
    {
        timespec time;
        ::clock_gettime(CLOCK_MONOTONIC, &time);
        const long nanoseconds = time.tv_nsec + milliseconds % 1000 * 1'000'000L;
        return {time.tv_sec + milliseconds / 1000 + nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    }

    // Ends a wait if the event is signalled.
    bool Take(std::uint32_t waiter)
    {
        std::uint32_t word = m_word;
        while ((word & SIGNALLED) != 0) {
            if (m_word.compare_exchange_weak(word, (m_manualReset ? word : word & ~SIGNALLED) - waiter))
                return true;
        }
        return false;
    }

    // Sleeps while nothing changes. False when the time has passed.
    bool Sleep(const timespec* deadline)
    {
        const std::uint32_t word = m_word;
        return (word & SIGNALLED) != 0 ||
               ::syscall(SYS_futex, &m_word, FUTEX_WAIT_BITSET_PRIVATE, word, deadline, nullptr,
                         FUTEX_BITSET_MATCH_ANY) == 0 ||
               errno != ETIMEDOUT;
    }

    std::atomic<std::uint32_t> m_word = 0;
    static_assert(sizeof m_word == sizeof(std::uint32_t));
    const bool m_manualReset;
};

} // namespace KivSys
