#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <semaphore.h>
#include <time.h>
#include <unistd.h>

#include <platform/posix/Object.h>

namespace KivSys
{

namespace
{

constexpr int INTERRUPTS[] = {SIGINT, SIGTERM};

// Counts what a signal handler may do nothing else with. It outlives every event, so that a late handler finds it.
::sem_t g_interrupts;

void CountInterrupt(int)
{
    const int before = errno;
    ::sem_post(&g_interrupts);
    errno = before;
}

class InterruptEvent : public Object
{
public:
    InterruptEvent()
    {
        ::sem_init(&g_interrupts, 0, 0);
        struct sigaction caught = {};
        caught.sa_handler = CountInterrupt;
        caught.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
        for (std::size_t i = 0; i < std::size(INTERRUPTS); ++i) {
            ::sigaction(INTERRUPTS[i], nullptr, &m_old[i]);
            if (m_old[i].sa_handler != SIG_IGN)
                ::sigaction(INTERRUPTS[i], &caught, nullptr);
        }
    }
    ~InterruptEvent() override
    {
        for (std::size_t i = 0; i < std::size(INTERRUPTS); ++i)
            ::sigaction(INTERRUPTS[i], &m_old[i], nullptr);
    }

    bool SetSignalled(bool signalled) override { return signalled && ::sem_post(&g_interrupts) == 0; }

    DWORD Wait(DWORD milliseconds) override
    {
        timespec end;
        ::clock_gettime(CLOCK_MONOTONIC, &end);
        const std::int64_t nanoseconds = end.tv_nsec + std::int64_t{milliseconds % 1000} * 1'000'000;
        end.tv_sec += static_cast<time_t>(milliseconds / 1000 + nanoseconds / 1'000'000'000);
        end.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
        int result;
        do
            result = milliseconds == Infinite ? ::sem_wait(&g_interrupts)
                                              : ::sem_clockwait(&g_interrupts, CLOCK_MONOTONIC, &end);
        while (result != 0 && errno == EINTR);
        return result == 0 ? WaitObject0 : WaitTimeout;
    }

private:
    struct sigaction m_old[std::size(INTERRUPTS)];
};

} // namespace

bool LocalTime(std::int64_t seconds, std::tm* result)
{
    constexpr std::int64_t last = 32535215999; // 3000-12-31T23:59:59
    const auto time = static_cast<std::time_t>(seconds);
    return seconds >= 0 && seconds <= last && ::localtime_r(&time, result) != nullptr;
}

DWORD GetCurrentProcessId()
{
    return static_cast<DWORD>(::getpid());
}

void DisableThreadNotifications() {}

std::string TemporaryDirectory()
{
    for (const char* name : {"TEMP", "TMP", "TMPDIR"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != 0)
            return PathFromUser(value);
    }
    return "/tmp";
}

bool StandardOutputIsTerminal()
{
    return ::isatty(STDOUT_FILENO) != 0;
}

bool StandardErrorIsTerminal()
{
    return ::isatty(STDERR_FILENO) != 0;
}

void MakeStandardStreamsBinary() {}

HANDLE CreateInterruptEvent()
{
    return HandleOf(new InterruptEvent);
}

bool CloseInterruptEvent(HANDLE event)
{
    return CloseHandle(event);
}

} // namespace KivSys
