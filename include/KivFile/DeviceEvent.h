// What an event source tells observers.
#pragma once

#include <cstdint>

#include <KivBase/WString.h>

namespace KivFile
{

// Something that happened to a path. A value.
struct DeviceEvent {
    std::uint32_t kind = 0;  // 0, 1 or 2 chooses the observer's handler; others are dropped
    Kiv::WString path;       // any text
    std::uint32_t value = 0; // means something to the source and the handler only
};

} // namespace KivFile
