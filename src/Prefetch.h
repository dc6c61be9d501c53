// Memory that will be read soon.
#pragma once

#include <cstddef>

namespace KivFile
{

// Begins to bring bytes near, so that the memory works while what was read before is looked at.
inline void Prefetch([[maybe_unused]] const unsigned char* bytes, [[maybe_unused]] std::size_t count)
{
#if defined(__GNUC__)
    constexpr std::size_t LINE = 64;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < count; i += LINE)
        __builtin_prefetch(bytes + i);
#endif
}

} // namespace KivFile
