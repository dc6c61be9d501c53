// Copies of blocks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace KivFile
{

// Copies in pieces of a length that GCC copies in place with the processor's string instruction. Where the bytes come
// from memory and not from a cache, a tokenizer that reads by blocks takes three quarters of the time that it takes
// with the C library's copy of a whole block.
inline void CopyBlock(void* dst, const void* src, std::size_t n)
{
    constexpr std::size_t PIECE = 1024;
    auto* to = static_cast<unsigned char*>(dst);
    const auto* from = static_cast<const unsigned char*>(src);
    while (n != 0) {
        const std::size_t piece = std::min(n, PIECE);
        std::memcpy(to, from, piece);
        to += piece;
        from += piece;
        n -= piece;
    }
}

} // namespace KivFile
