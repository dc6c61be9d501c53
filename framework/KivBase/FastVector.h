// Vectors of plain values whose storage comes from the family's pool.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include <KivMem/MemoryPool.h>

namespace Kiv
{

// A growable array of trivially copyable values. Its growth is part of the contract: a full vector grows to the larger
// of 16 and its count times 2.0 (from 257 entries on, times 1.25). Throws std::bad_alloc when the storage cannot be
// had; the content is then unchanged.
template <class T>
class FastVector
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    FastVector() = default;
    FastVector(const FastVector&) = delete;
    FastVector& operator=(const FastVector&) = delete;
    ~FastVector() { KivMem::MemoryPool::Delete(m_items); }

    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] std::size_t capacity() const { return m_capacity; }
    [[nodiscard]] bool empty() const { return m_size == 0; }
    [[nodiscard]] T* data() { return m_items; }
    [[nodiscard]] const T* data() const { return m_items; }
    [[nodiscard]] T* begin() { return m_items; }
    [[nodiscard]] T* end() { return m_items + m_size; }
    [[nodiscard]] const T* begin() const { return m_items; }
    [[nodiscard]] const T* end() const { return m_items + m_size; }
    T& operator[](std::size_t index) { return m_items[index]; }
    const T& operator[](std::size_t index) const { return m_items[index]; }
    T& back() { return m_items[m_size - 1]; }

    void reserve(std::size_t capacity)
    {
        if (capacity > m_capacity)
            Reallocate(capacity);
    }

    void push_back(const T& value)
    {
        const T copy = value; // value may lie in the storage that is about to go
        if (m_size == m_capacity)
            Reallocate(GrownCapacity());
        m_items[m_size++] = copy;
    }

    // Makes room for count more entries at the end and returns their uninitialised storage.
    T* append(std::size_t count)
    {
        if (m_capacity - m_size < count)
            Reallocate(std::max(GrownCapacity(), m_size + count));
        m_size += count;
        return m_items + m_size - count;
    }

    void pop_back() { --m_size; }
    void clear() { m_size = 0; }

private:
    std::size_t GrownCapacity() const
    {
        const double factor = m_size < 257 ? 2.0 : 1.25;
        const auto grown = static_cast<std::size_t>(static_cast<double>(m_size) * factor);
        return std::max<std::size_t>(grown, 16);
    }

    void Reallocate(std::size_t capacity)
    {
        if (capacity > std::numeric_limits<std::uint32_t>::max() / sizeof(T))
            throw std::bad_alloc();
        T* items = static_cast<T*>(KivMem::MemoryPool::New(static_cast<unsigned int>(capacity * sizeof(T))));
        if (m_size != 0)
            std::memcpy(items, m_items, m_size * sizeof(T));
        KivMem::MemoryPool::Delete(std::exchange(m_items, items));
        m_capacity = capacity;
    }

    T* m_items = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

// A vector of pointers. It frees its own storage; what the pointers point at belongs to the user.
template <class T>
class PointerVector : public FastVector<T*>
{
};

} // namespace Kiv
