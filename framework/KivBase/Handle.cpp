#include <KivBase/Handle.h>

#include <utility>

#include <platform/Platform.h>

namespace Kiv
{

namespace
{

bool IsSystemHandle(void* handle)
{
    return handle != nullptr && handle != KivSys::InvalidHandle();
}

} // namespace

Handle& Handle::operator=(void* handle)
{
    if (handle != m_handle) {
        Close();
        m_handle = handle;
    }
    return *this;
}

Handle::~Handle()
{
    Close();
}

bool Handle::IsValid() const
{
    return IsSystemHandle(m_handle);
}

void Handle::Close()
{
    if (IsValid())
        KivSys::CloseHandle(m_handle);
    m_handle = nullptr;
}

FindHandle& FindHandle::operator=(void* handle)
{
    if (handle != m_handle) {
        Close();
        m_handle = handle;
    }
    return *this;
}

FindHandle::~FindHandle()
{
    Close();
}

bool FindHandle::IsValid() const
{
    return IsSystemHandle(m_handle);
}

void FindHandle::Close()
{
    if (IsValid())
        KivSys::FindClose(m_handle);
    m_handle = nullptr;
}

} // namespace Kiv
