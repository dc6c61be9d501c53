// Mutual exclusion.
#pragma once

#include <cstdint>

#include <KivBase/Export.h>

namespace KivSys
{
struct CriticalSection;
}

namespace KivThread
{

// A lock that one thread holds at a time; the thread that holds it may enter again.
class KIV_EXPORT CriticalSection
{
public:
    // Holds a critical section from its construction to its end.
    class Lock
    {
    public:
        explicit Lock(CriticalSection& section) : m_section(section) { m_section.Enter(); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() { m_section.Leave(); }

    private:
        CriticalSection& m_section;
    };

    // spinCount: how often a thread looks again before it sleeps. Throws ThreadException.
    explicit CriticalSection(std::uint32_t spinCount);
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    ~CriticalSection();

private:
    void Enter();
    void Leave();

    KivSys::CriticalSection* m_section;
};

} // namespace KivThread
