#include <KivThread/CriticalSection.h>

#include <KivThread/ThreadException.h>
#include <platform/Platform.h>

namespace KivThread
{

CriticalSection::CriticalSection(std::uint32_t spinCount)
    : m_section(KivSys::InitializeCriticalSectionAndSpinCount(spinCount))
{
    if (!m_section)
        ThrowLastError();
}

CriticalSection::~CriticalSection()
{
    KivSys::DeleteCriticalSection(m_section);
}

void CriticalSection::Enter()
{
    KivSys::EnterCriticalSection(m_section);
}

void CriticalSection::Leave()
{
    KivSys::LeaveCriticalSection(m_section);
}

} // namespace KivThread
