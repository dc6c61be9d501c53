// The system's error numbers as last errors.
#pragma once

#include <platform/Platform.h>

namespace KivSys
{

// The code for a value of errno.
DWORD CodeOfErrno(int error);

// Set the last error, the second one from errno; false, so that a failed call can return it.
bool Fail(DWORD code);
bool FailWithErrno();

} // namespace KivSys
