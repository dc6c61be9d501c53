// What a handle points to.
#pragma once

#include <platform/Platform.h>

namespace KivSys
{

// The platform floor is linked into each shared library, and a handle that one copy made may be used and closed by
// the other: all that is done with an object goes through its virtual functions.
class Object
{
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    // The file descriptor, -1 when the object is no file.
    virtual int Descriptor() const { return -1; }
    // False when the object is no event.
    virtual bool SetSignalled(bool) { return false; }
    // WaitFailed when the object is nothing to wait for.
    virtual DWORD Wait(DWORD) { return WaitFailed; }
    // Null, with the last error set, when the object is no mapping.
    virtual void* MapView(DWORD, std::uint64_t, std::size_t)
    {
        SetLastError(ErrorInvalidHandle);
        return nullptr;
    }
    // False, with the last error set, at the end of a directory search and when the object is none.
    virtual bool NextEntry(FindDataA*)
    {
        SetLastError(ErrorInvalidHandle);
        return false;
    }
};

// The handle's object; null, with the last error set, when the handle holds none.
inline Object* ObjectOf(HANDLE handle)
{
    if (handle != nullptr && handle != InvalidHandle())
        return static_cast<Object*>(handle);
    SetLastError(ErrorInvalidHandle);
    return nullptr;
}

inline HANDLE HandleOf(Object* object)
{
    return object;
}

} // namespace KivSys
