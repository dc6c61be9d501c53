// The one way in which this library waits for a system object. Private to the build.
#pragma once

#include <cstdint>

namespace KivThread
{

// Waits until an event is signalled or a thread has ended; false when the time passes first. Throws ThreadException.
bool WaitFor(void* object, std::uint32_t milliseconds);

} // namespace KivThread
