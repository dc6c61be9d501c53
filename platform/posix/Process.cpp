#include <cstdlib>
#include <unistd.h>

#include <platform/Platform.h>

namespace KivSys
{

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

} // namespace KivSys
