// Worker threads.
#pragma once

#include <cstdint>
#include <string>

#include <KivBase/Export.h>
#include <KivBase/Handle.h>
#include <KivBase/SmartPtr.h>
#include <KivThread/EventSemaphore.h>
#include <KivThread/Function.h>

namespace KivThread
{

// One worker. It is held by Kiv::SmartPtr, and the worker has a share of its own: dropping the last other share neither
// waits for the worker nor ends it. The worker drops the function, and with it what the function owns, when it ends.
class KIV_EXPORT Thread : public Kiv::SPRefCounter
{
public:
    // name: ASCII, what a debugger shows.
    Thread(const std::string& name, const Kiv::SmartPtr<Function>& function);

    // Starts the worker. A thread runs once: later calls do nothing. Throws ThreadException when the system has no
    // thread to give.
    void Start();

    // Waits until the worker has ended; a thread that was not started has. False when the time passes first, and at
    // once on the worker itself. Throws ThreadException.
    bool Wait(std::uint32_t milliseconds = WAIT_FOREVER);

    // Whether the caller is the worker.
    [[nodiscard]] bool IsCurrent() const;

protected:
    ~Thread() override;

    // What the worker does. An exception that leaves it ends the worker and no more.
    virtual void Run();
    // Calls the function with a null argument.
    virtual void CallFunction();

private:
    static std::uint32_t Enter(void* thread);

    std::string m_name;
    Kiv::SmartPtr<Function> m_function;
    Kiv::Handle m_handle;
};

} // namespace KivThread
