#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <unistd.h>

#include <platform/posix/Event.h>

namespace KivSys
{

namespace
{

constexpr int INTERRUPTS[] = {SIGINT, SIGTERM};

// It outlives every handle, so that a late signal finds it.
Event g_interrupted(false);

void SignalInterrupt(int)
{
    const int before = errno;
    g_interrupted.SetSignalled(true);
    errno = before;
}

class InterruptEvent : public Object
{
public:
    InterruptEvent()
    {
        g_interrupted.SetSignalled(false);
        struct sigaction caught = {};
        caught.sa_handler = SignalInterrupt;
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

    bool SetSignalled(bool signalled) override { return g_interrupted.SetSignalled(signalled); }
    DWORD Wait(DWORD milliseconds) override { return g_interrupted.Wait(milliseconds); }

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
