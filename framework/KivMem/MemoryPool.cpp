#include <KivMem/MemoryPool.h>

#include <new>

namespace KivMem
{

void* MemoryPool::New(unsigned int size)
{
    return ::operator new(size);
}

void MemoryPool::Delete(void* block) noexcept
{
    ::operator delete(block);
}

} // namespace KivMem
