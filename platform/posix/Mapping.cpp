#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

#include <platform/posix/Errors.h>
#include <platform/posix/Object.h>

namespace KivSys
{

namespace
{

constexpr std::size_t GRANULARITY = 65536;

// How long each view is: what is unmapped is told by its address alone. Each copy of the platform floor has a table of
// its own, so a view is unmapped by the library that mapped it.
class ViewTable
{
public:
    void Add(const void* view, std::size_t size)
    {
        const std::lock_guard lock(m_lock);
        m_sizes[view] = size;
    }

    // 0 when it is no view.
    std::size_t SizeOf(const void* view)
    {
        const std::lock_guard lock(m_lock);
        const auto known = m_sizes.find(view);
        return known != m_sizes.end() ? known->second : 0;
    }

    // Forgets the view and returns its size.
    std::size_t Take(const void* view)
    {
        const std::lock_guard lock(m_lock);
        const auto entry = m_sizes.extract(view);
        return entry ? entry.mapped() : 0;
    }

private:
    std::mutex m_lock;
    std::unordered_map<const void*, std::size_t> m_sizes;
};

// Never destroyed: the last views may be released by static objects.
ViewTable& Views()
{
    static ViewTable& views = *new ViewTable;
    return views;
}

// Has a descriptor of its own. The locks of the file's handle stay with that descriptor's file until both are closed.
class Mapping : public Object
{
public:
    // Not open, with errno set, on failure.
    Mapping(int file, DWORD protection, std::uint64_t size)
        : m_descriptor(::fcntl(file, F_DUPFD_CLOEXEC, 0)), m_isWritable(protection == PageReadWrite), m_size(size)
    {
    }
    ~Mapping() override
    {
        if (IsOpen())
            ::close(m_descriptor);
    }

    bool IsOpen() const { return m_descriptor >= 0; }

    void* MapView(DWORD access, std::uint64_t offset, std::size_t size) override
    {
        const bool writes = (access & FileMapWrite) != 0;
        if (offset % GRANULARITY != 0)
            return Refuse(ErrorMappedAlignment);
        if (offset > m_size || size > m_size - offset || (writes && !m_isWritable))
            return Refuse(ErrorAccessDenied);
        const int protection = writes ? PROT_READ | PROT_WRITE : PROT_READ;
        void* const view = ::mmap(nullptr, size, protection, MAP_SHARED, m_descriptor, static_cast<off_t>(offset));
        return view != MAP_FAILED ? view : Refuse(CodeOfErrno(errno));
    }

private:
    static void* Refuse(DWORD code)
    {
        SetLastError(code);
        return nullptr;
    }

    const int m_descriptor;
    const bool m_isWritable;
    const std::uint64_t m_size;
};

bool Reserve(int descriptor, std::uint64_t oldSize, std::uint64_t newSize)
{
    int error = 0;
    do
        error = ::posix_fallocate(descriptor, static_cast<off_t>(oldSize), static_cast<off_t>(newSize - oldSize));
    while (error == EINTR);
    if (error == 0)
        return true;
    // What was reserved before the disk was full goes back.
    [[maybe_unused]] const int ignored = ::ftruncate(descriptor, static_cast<off_t>(oldSize));
    return Fail(CodeOfErrno(error));
}

// Makes sure that the file holds what is to be mapped: memory behind a file's end is a signal and no error.
bool CoverSize(int descriptor, DWORD protection, std::uint64_t size)
{
    struct stat status;
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags < 0 || ::fstat(descriptor, &status) != 0)
        return FailWithErrno();
    if (protection == PageReadWrite && (flags & O_ACCMODE) != O_RDWR)
        return Fail(ErrorAccessDenied);
    if (size > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
        return Fail(ErrorInvalidParameter);
    const auto oldSize = static_cast<std::uint64_t>(status.st_size);
    if (size <= oldSize)
        return true;
    return protection == PageReadWrite ? Reserve(descriptor, oldSize, size) : Fail(ErrorNotEnoughMemory);
}

std::uint64_t Joined(DWORD high, DWORD low)
{
    return std::uint64_t{high} << 32 | low;
}

} // namespace

void GetSystemInfo(SystemInfo* info)
{
    info->allocationGranularity = GRANULARITY;
}

HANDLE CreateFileMappingW(HANDLE file, DWORD protection, DWORD sizeHigh, DWORD sizeLow)
{
    const Object* const object = ObjectOf(file);
    const std::uint64_t size = Joined(sizeHigh, sizeLow);
    if (object == nullptr || !CoverSize(object->Descriptor(), protection, size))
        return nullptr;
    auto mapping = std::make_unique<Mapping>(object->Descriptor(), protection, size);
    if (mapping->IsOpen())
        return HandleOf(mapping.release());
    FailWithErrno();
    return nullptr;
}

void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, std::size_t size)
{
    Object* const object = ObjectOf(mapping);
    void* const view = object != nullptr ? object->MapView(access, Joined(offsetHigh, offsetLow), size) : nullptr;
    if (view == nullptr)
        return nullptr;
    try {
        Views().Add(view, size);
        return view;
    } catch (const std::bad_alloc&) {
        ::munmap(view, size);
        SetLastError(ErrorNotEnoughMemory);
        return nullptr;
    }
}

bool FlushViewOfFile(const void* view, std::size_t size)
{
    const std::size_t viewSize = Views().SizeOf(view);
    const std::size_t flushed = size == 0 ? viewSize : std::min(size, viewSize);
    return ::msync(const_cast<void*>(view), flushed, MS_SYNC) == 0 || FailWithErrno();
}

// The address is forgotten first, because another thread may be given it as soon as it is free.
bool UnmapViewOfFile(const void* view)
{
    return ::munmap(const_cast<void*>(view), Views().Take(view)) == 0 || FailWithErrno();
}

} // namespace KivSys
