#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>

#include <platform/windows/System.h>

namespace KivSys
{

namespace
{

bool IsConsole(::DWORD standardHandle)
{
    ::DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(standardHandle), &mode) != 0;
}

// Null once it has been signalled.
std::atomic<::HANDLE> g_interruptEvent = nullptr;

// Runs on a thread of its own. What is not taken here ends the program.
::BOOL WINAPI TakeInterrupt(::DWORD kind)
{
    if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT)
        return FALSE;
    const ::HANDLE event = g_interruptEvent.exchange(nullptr);
    return event != nullptr && ::SetEvent(event) != 0;
}

} // namespace

bool LocalTime(std::int64_t seconds, std::tm* result)
{
    constexpr std::int64_t last = 32535215999; // 3000-12-31T23:59:59
    const __time64_t time = seconds;
    return seconds >= 0 && seconds <= last && ::_localtime64_s(result, &time) == 0;
}

DWORD GetCurrentProcessId()
{
    return ::GetCurrentProcessId();
}

void DisableThreadNotifications()
{
    // The module is found by an address inside it.
    static const char inside = 0;
    ::HMODULE module = nullptr;
    const ::DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (::GetModuleHandleExW(flags, reinterpret_cast<const wchar_t*>(&inside), &module) != 0)
        ::DisableThreadLibraryCalls(module);
}

std::string TemporaryDirectory()
{
    for (const char* name : {"TEMP", "TMP"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != 0)
            return value;
    }
    return {};
}

bool StandardOutputIsTerminal()
{
    return IsConsole(STD_OUTPUT_HANDLE);
}

bool StandardErrorIsTerminal()
{
    return IsConsole(STD_ERROR_HANDLE);
}

void MakeStandardStreamsBinary()
{
    for (std::FILE* stream : {stdin, stdout, stderr})
        ::_setmode(::_fileno(stream), _O_BINARY);
}

HANDLE CreateInterruptEvent()
{
    const HANDLE event = CreateEventW(false);
    g_interruptEvent = event;
    if (event != nullptr)
        ::SetConsoleCtrlHandler(TakeInterrupt, TRUE);
    return event;
}

bool CloseInterruptEvent(HANDLE event)
{
    ::SetConsoleCtrlHandler(TakeInterrupt, FALSE);
    g_interruptEvent = nullptr;
    return CloseHandle(event);
}

} // namespace KivSys
