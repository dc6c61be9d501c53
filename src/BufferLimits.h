// Limits that all buffers share.
#pragma once

#include <limits>

namespace KivFile
{

// Positions and sizes are 32 bits.
constexpr unsigned int LARGEST_POSITION = std::numeric_limits<unsigned int>::max();

// No transfer between a buffer and a file or another buffer is larger, so that none needs a large temporary.
constexpr unsigned int LARGEST_PIECE = 32768;

} // namespace KivFile
