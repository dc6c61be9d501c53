#include <KivThread/Thread.h>

#include <KivThread/ThreadException.h>
#include <KivThread/Wait.h>
#include <platform/Platform.h>

namespace KivThread
{

namespace
{

// Set until the thread has ended, its variables included.
thread_local const Thread* t_current = nullptr;

} // namespace

Thread::Thread(const std::string& name, const Kiv::SmartPtr<Function>& function) : m_name(name), m_function(function) {}

Thread::~Thread() = default;

void Thread::Start()
{
    if (m_handle.IsValid())
        return;
    AddRef(); // the worker's share
    m_handle = KivSys::CreateThread(&Thread::Enter, this, m_name.c_str());
    if (!m_handle.IsValid()) {
        Release();
        ThrowLastError();
    }
}

std::uint32_t Thread::Enter(void* thread)
{
    const Kiv::SmartPtr<Thread> self(static_cast<Thread*>(thread));
    self->Release();
    t_current = self.Get();
    try {
        self->Run();
    } catch (...) {
        // Nobody is there to be told; the process goes on.
    }
    self->m_function = Kiv::SmartPtr<Function>();
    return 0;
}

bool Thread::Wait(std::uint32_t milliseconds)
{
    if (IsCurrent())
        return false;
    return !m_handle.IsValid() || WaitFor(m_handle.Get(), milliseconds);
}

bool Thread::IsCurrent() const
{
    return t_current == this;
}

void Thread::Run()
{
    CallFunction();
}

void Thread::CallFunction()
{
    (*m_function)(nullptr);
}

} // namespace KivThread
