// Reference counting for objects that several owners share.
#pragma once

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <KivBase/Export.h>

namespace Kiv
{

// The count that a shared object carries: 0 in every new object, never copied with the object's value, changed
// atomically. A class derives from it (naming itself) or from SPRefCounter and is then held by SmartPtr without a
// separate counter; an object on the stack simply never has its count touched.
template <class Derived>
class RefCountedT
{
public:
    RefCountedT() = default;
    RefCountedT(const RefCountedT&) noexcept {}
    RefCountedT& operator=(const RefCountedT&) noexcept { return *this; }

    // Takes a reference and returns the new count.
    std::int32_t AddRef() const noexcept { return ++m_count & ~IS_ENDING; }

    // Drops a reference and returns the new count; at 0 the object is destroyed.
    std::int32_t Release() const noexcept
    {
        std::int32_t count = m_count;
        while (!m_count.compare_exchange_weak(count, count == 1 ? IS_ENDING : count - 1)) {
        }
        if (count == 1) {
            Derived::Destroy(static_cast<const Derived*>(this));
            return 0;
        }
        return (count - 1) & ~IS_ENDING;
    }

    [[nodiscard]] std::int32_t NbRef() const noexcept { return m_count & ~IS_ENDING; }

protected:
    ~RefCountedT() = default;

    // What becomes of an object without references. Derived may have a form of its own, which is found first.
    static void Destroy(const Derived* object) { delete object; }

private:
    // Part of the count from the moment in which the last reference goes: those that others take and drop while the
    // object is being destroyed destroy nothing.
    static constexpr std::int32_t IS_ENDING = std::int32_t{1} << 30;

    mutable std::atomic<std::int32_t> m_count{0};
};

// Base of polymorphic shared classes.
class KIV_EXPORT SPRefCounter : public RefCountedT<SPRefCounter>
{
public:
    virtual ~SPRefCounter();
};

template <class T>
concept CountsItself = requires(const T& object) {
    object.AddRef();
    object.Release();
};

// Shared ownership of a T: the object is deleted when its last SmartPtr goes. One word where T counts itself (an
// object may then be held again from a plain pointer), two words otherwise: the object and a counter of its own.
// Pointers may be copied and dropped on different threads; one SmartPtr is used by one thread at a time.
template <class T>
class SmartPtr
{
    static_assert(sizeof(T) > 0, "the form of the pointer depends on what T declares");

public:
    SmartPtr() = default;
    SmartPtr(std::nullptr_t) noexcept {}

    // Takes a share of object (null is allowed). Where T does not count itself, object must not be held already.
    // Throws std::bad_alloc when the counter cannot be made; object is then deleted.
    explicit SmartPtr(T* object) : m_share(object) { m_share.Take(); }
    SmartPtr(const SmartPtr& other) noexcept : m_share(other.m_share) { m_share.Take(); }
    SmartPtr(SmartPtr&& other) noexcept : m_share(std::exchange(other.m_share, Share{})) {}

    // A share of the same object as one of its bases.
    template <class U>
        requires std::convertible_to<U*, T*>
    SmartPtr(const SmartPtr<U>& other) noexcept : m_share(other.m_share)
    {
        m_share.Take();
    }

    SmartPtr& operator=(SmartPtr other) noexcept
    {
        std::swap(m_share, other.m_share);
        return *this;
    }

    ~SmartPtr() { m_share.Drop(); }

    [[nodiscard]] T* Get() const noexcept { return m_share.object; }
    T& operator*() const noexcept { return *m_share.object; }
    T* operator->() const noexcept { return m_share.object; }
    explicit operator bool() const noexcept { return m_share.object != nullptr; }
    friend bool operator==(const SmartPtr& a, const SmartPtr& b) noexcept { return a.Get() == b.Get(); }

private:
    template <class U>
    friend class SmartPtr;

    // The object's own count.
    struct OneWord {
        OneWord() = default;
        explicit OneWord(T* o) : object(o) {}
        template <class Other>
        explicit OneWord(const Other& other) : object(other.object)
        {
        }

        void Take() const noexcept
        {
            if (object)
                object->AddRef();
        }
        void Drop() const noexcept
        {
            if (object)
                object->Release();
        }

        T* object = nullptr;
    };

    // A count beside the object.
    struct TwoWords {
        TwoWords() = default;
        explicit TwoWords(T* o) : object(o), count(NewCount(o)) {}
        template <class Other>
        explicit TwoWords(const Other& other) : object(other.object), count(other.count)
        {
        }

        static std::atomic<std::int32_t>* NewCount(T* object)
        {
            if (!object)
                return nullptr;
            try {
                return new std::atomic<std::int32_t>(0);
            } catch (...) {
                delete object;
                throw;
            }
        }

        void Take() const noexcept
        {
            if (count)
                ++*count;
        }
        void Drop() const noexcept
        {
            if (count && --*count == 0) {
                delete object;
                delete count;
            }
        }

        T* object = nullptr;
        std::atomic<std::int32_t>* count = nullptr;
    };

    using Share = std::conditional_t<CountsItself<T>, OneWord, TwoWords>;

    Share m_share{};
};

// Shared ownership of an object whose class does not count itself.
template <class T>
using RefCount = SmartPtr<T>;

// Shared ownership of an object that its holders only read.
template <class T>
using SmartPtrToConst = SmartPtr<const T>;

// Makes a T and takes the first share of it.
template <class T, class... Arguments>
[[nodiscard]] SmartPtr<T> MakeShared(Arguments&&... arguments)
{
    return SmartPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

} // namespace Kiv
