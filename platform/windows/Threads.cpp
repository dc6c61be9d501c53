#include <memory>
#include <process.h>
#include <string>

#include <platform/windows/System.h>

namespace KivSys
{

static_assert(Infinite == INFINITE && WaitObject0 == WAIT_OBJECT_0 && WaitAbandoned == WAIT_ABANDONED &&
              WaitTimeout == WAIT_TIMEOUT && WaitFailed == WAIT_FAILED);

namespace
{

struct StartOrder {
    ThreadStart start;
    void* parameter;
};

unsigned __stdcall RunThread(void* argument)
{
    const StartOrder order = *std::unique_ptr<StartOrder>(static_cast<StartOrder*>(argument));
    return order.start(order.parameter);
}

// Older systems have no names for threads.
void NameThread(HANDLE thread, const std::string& name)
{
    using SetDescription = ::HRESULT(WINAPI*)(::HANDLE, const wchar_t*);
    const ::FARPROC address = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription");
    if (address != nullptr)
        reinterpret_cast<SetDescription>(reinterpret_cast<void*>(address))(
            thread, std::wstring(name.begin(), name.end()).c_str());
}

} // namespace

HANDLE CreateEventW(bool manualReset)
{
    return ::CreateEventW(nullptr, manualReset, FALSE, nullptr);
}

bool SetEvent(HANDLE event)
{
    return ::SetEvent(event) != 0;
}

bool ResetEvent(HANDLE event)
{
    return ::ResetEvent(event) != 0;
}

HANDLE CreateThread(ThreadStart start, void* parameter, const char* name)
{
    auto order = std::make_unique<StartOrder>(start, parameter);
    const auto thread = reinterpret_cast<HANDLE>(::_beginthreadex(nullptr, 0, RunThread, order.get(), 0, nullptr));
    if (thread == nullptr)
        return nullptr;
    order.release();
    NameThread(thread, name);
    return thread;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds)
{
    return ::WaitForSingleObject(object, milliseconds);
}

struct CriticalSection {
    ::CRITICAL_SECTION section;
};

CriticalSection* InitializeCriticalSectionAndSpinCount(DWORD spinCount)
{
    auto* section = new CriticalSection;
    ::InitializeCriticalSectionAndSpinCount(&section->section, spinCount);
    return section;
}

void EnterCriticalSection(CriticalSection* section)
{
    ::EnterCriticalSection(&section->section);
}

void LeaveCriticalSection(CriticalSection* section)
{
    ::LeaveCriticalSection(&section->section);
}

void DeleteCriticalSection(CriticalSection* section)
{
    ::DeleteCriticalSection(&section->section);
    delete section;
}

} // namespace KivSys
