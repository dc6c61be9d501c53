#include <exception>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <string>
#include <thread>

#include <platform/posix/Errors.h>
#include <platform/posix/Event.h>

namespace KivSys
{

namespace
{

// Shared by the thread's handle and the thread, either of which may end first.
using EndEvent = std::shared_ptr<Event>;

class Thread : public Object
{
public:
    explicit Thread(EndEvent end) : m_end(std::move(end)) {}
    DWORD Wait(DWORD milliseconds) override { return m_end->Wait(milliseconds); }

private:
    EndEvent m_end;
};

struct SignalAtEnd {
    EndEvent end;
    ~SignalAtEnd() { end->SetSignalled(true); }
};

void RunThread(ThreadStart start, void* parameter, const std::string& name, EndEvent end)
{
    // The first of the thread's variables is destroyed last: who waits for the thread waits for all of them.
    const thread_local SignalAtEnd signal{std::move(end)};
    ::pthread_setname_np(::pthread_self(), name.c_str());
    start(parameter);
}

} // namespace

HANDLE CreateEventW(bool manualReset)
{
    return HandleOf(new Event(manualReset));
}

bool SetEvent(HANDLE event)
{
    Object* object = ObjectOf(event);
    return object != nullptr && (object->SetSignalled(true) || Fail(ErrorInvalidHandle));
}

bool ResetEvent(HANDLE event)
{
    Object* object = ObjectOf(event);
    return object != nullptr && (object->SetSignalled(false) || Fail(ErrorInvalidHandle));
}

HANDLE CreateThread(ThreadStart start, void* parameter, const char* name)
try {
    constexpr std::size_t longestName = 15;
    const auto end = std::make_shared<Event>(true);
    auto thread = std::make_unique<Thread>(end);
    std::thread(RunThread, start, parameter, std::string(name).substr(0, longestName), end).detach();
    return HandleOf(thread.release());
} catch (const std::exception&) {
    SetLastError(ErrorNotEnoughMemory); // or as many threads as there may be
    return nullptr;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds)
{
    Object* waitable = ObjectOf(object);
    const DWORD result = waitable != nullptr ? waitable->Wait(milliseconds) : DWORD{WaitFailed};
    if (result == WaitFailed)
        SetLastError(ErrorInvalidHandle);
    return result;
}

struct CriticalSection {
    std::recursive_mutex mutex;
    DWORD spinCount;
};

CriticalSection* InitializeCriticalSectionAndSpinCount(DWORD spinCount)
{
    return new CriticalSection{{}, spinCount};
}

void EnterCriticalSection(CriticalSection* section)
{
    for (DWORD i = 0; i < section->spinCount; ++i) {
        if (section->mutex.try_lock())
            return;
    }
    section->mutex.lock();
}

void LeaveCriticalSection(CriticalSection* section)
{
    section->mutex.unlock();
}

void DeleteCriticalSection(CriticalSection* section)
{
    delete section;
}

} // namespace KivSys
