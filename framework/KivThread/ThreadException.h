// Failures of threads and of what they wait for.
#pragma once

#include <KivBase/Exception.h>
#include <KivBase/Export.h>

namespace KivThread
{

// A call of the system failed. The text is the system's description of the error.
class KIV_TYPE ThreadException : public Kiv::ExceptionT<ThreadException, Kiv::Exception>
{
public:
    using ExceptionT::ExceptionT;
};

// Throws a ThreadException for the calling thread's last error.
[[noreturn]] KIV_EXPORT void ThrowLastError();

} // namespace KivThread
