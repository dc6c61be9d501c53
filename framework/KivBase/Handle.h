// Owners of system handles.
#pragma once

#include <KivBase/Export.h>

namespace Kiv
{

// Owns one system handle and closes it. 0 and all-ones mean that there is none.
class KIV_EXPORT Handle
{
public:
    Handle() = default;
    explicit Handle(void* handle) : m_handle(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    // Closes the handle held and takes over another.
    Handle& operator=(void* handle);
    ~Handle();

    // The handle itself, still owned by this object.
    [[nodiscard]] void* Get() const { return m_handle; }
    [[nodiscard]] bool IsValid() const;
    void Close();

private:
    void* m_handle = nullptr;
};

// The same for the handle of a directory search.
class KIV_EXPORT FindHandle
{
public:
    FindHandle() = default;
    explicit FindHandle(void* handle) : m_handle(handle) {}
    FindHandle(const FindHandle&) = delete;
    FindHandle& operator=(const FindHandle&) = delete;
    FindHandle& operator=(void* handle);
    virtual ~FindHandle();

    [[nodiscard]] void* Get() const { return m_handle; }
    [[nodiscard]] bool IsValid() const;
    void Close();

private:
    void* m_handle = nullptr;
};

} // namespace Kiv
