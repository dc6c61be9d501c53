// The family's block allocator.
#pragma once

#include <KivBase/Export.h>

namespace KivMem
{

// Blocks for the content and tables of the family's classes. Safe to use from any thread.
class KIV_EXPORT MemoryPool
{
public:
    // Returns a block of at least size bytes, aligned for any type. Throws std::bad_alloc when there is none.
    [[nodiscard]] static void* New(unsigned int size);
    // Gives a block back; null is allowed.
    static void Delete(void* block) noexcept;
};

} // namespace KivMem
