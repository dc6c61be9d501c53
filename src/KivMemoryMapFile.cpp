#include <KivFile/MemoryMapFile.h>

#include <algorithm>

#include <platform/Platform.h>
#include <src/MessageRecord.h>

namespace KivFile
{

namespace
{

KivSys::DWORD High(std::uint64_t value)
{
    return static_cast<KivSys::DWORD>(value >> 32);
}

KivSys::DWORD Low(std::uint64_t value)
{
    return static_cast<KivSys::DWORD>(value & 0xFFFFFFFF);
}

std::uint32_t AllocationGranularity()
{
    KivSys::SystemInfo info;
    KivSys::GetSystemInfo(&info);
    return info.allocationGranularity;
}

} // namespace

MemoryMapFile::MemoryMapFile(const std::string& filename)
    : m_filename(filename), m_defaultViewSize(AllocationGranularity())
{
}

MemoryMapFile::~MemoryMapFile()
{
    Close();
}

void MemoryMapFile::Open(OpenMode mode)
{
    switch (mode) {
    case OpenMode::Read:
    case OpenMode::ReadWrite:
    case OpenMode::Truncate:
        Close();
        m_mode = mode;
        m_file = CreateHandle(mode);
        break;
    }
    if (!m_file.IsValid())
        ThrowForOpen(mode);
    m_size = std::max<std::uint64_t>(FileSize(), m_defaultViewSize);
    try {
        CreateFileMappingObject();
    } catch (...) {
        Close();
        throw;
    }
}

void MemoryMapFile::Close()
{
    for (const auto& [offset, view] : m_views)
        KivSys::FlushViewOfFile(view, 0);
    ReleaseViews();
    m_mapping.Close();
    m_file.Close();
}

void MemoryMapFile::Delete()
{
    Close();
    const KivSys::DWORD attributes = KivSys::GetFileAttributesA(m_filename.c_str());
    const bool isFile = attributes != KivSys::InvalidFileAttributes && (attributes & KivSys::AttributeDirectory) == 0;
    if (isFile && KivSys::UnlinkA(m_filename.c_str()) != 0)
        Throw(Action::Delete);
}

void* MemoryMapFile::GetView(std::uint64_t offset, std::size_t size)
{
    if (offset > m_size || size > m_size - offset) {
        KivSys::SetLastError(KivSys::ErrorHandleEof);
        Throw(Action::GetView);
    }
    const auto known = m_views.find(offset);
    if (known != m_views.end())
        return known->second;

    // The place comes first: a view without one would never be released.
    const auto place = m_views.emplace(offset, nullptr).first;
    place->second = KivSys::MapViewOfFile(m_mapping.Get(), IsWritable() ? KivSys::FileMapWrite : KivSys::FileMapRead,
                                          High(offset), Low(offset), size != 0 ? size : m_defaultViewSize);
    if (place->second == nullptr) {
        const KivSys::DWORD error = KivSys::GetLastError();
        m_views.erase(place);
        KivSys::SetLastError(error);
        Throw(Action::GetView);
    }
    return place->second;
}

void MemoryMapFile::ReleaseView(std::uint64_t offset, bool flush)
{
    const auto view = m_views.find(offset);
    if (view == m_views.end())
        return;
    const bool isStored = !flush || KivSys::FlushViewOfFile(view->second, 0);
    const KivSys::DWORD error = KivSys::GetLastError();
    KivSys::UnmapViewOfFile(view->second);
    m_views.erase(view);
    if (!isStored) {
        KivSys::SetLastError(error);
        Throw(Action::ReleaseView);
    }
}

void MemoryMapFile::FlushView(std::uint64_t offset, std::size_t size)
{
    const auto view = m_views.find(offset);
    if (view != m_views.end())
        KivSys::FlushViewOfFile(view->second, size);
}

void MemoryMapFile::Flush()
{
    ReleaseViews();
    KivSys::FlushFileBuffers(m_file.Get());
}

void MemoryMapFile::Resize(std::uint64_t newSize)
{
    ReleaseViews();
    m_mapping.Close();
    // A file that could not be lengthened to its size is not cut, and the mapping reserves what it lacks.
    if (newSize < std::min(m_size, FileSize())) {
        auto high = static_cast<KivSys::LONG>(High(newSize));
        KivSys::SetFilePointer(m_file.Get(), static_cast<KivSys::LONG>(Low(newSize)), &high, KivSys::FileBegin);
        KivSys::SetEndOfFile(m_file.Get());
    }
    m_size = newSize;
    CreateFileMappingObject();
}

void* MemoryMapFile::CreateHandle(OpenMode mode) const
{
    const char* const name = m_filename.c_str();
    constexpr KivSys::DWORD READ_WRITE = KivSys::GenericRead | KivSys::GenericWrite;
    if (mode == OpenMode::Read)
        return KivSys::CreateFileA(name, KivSys::GenericRead, KivSys::ShareRead | KivSys::ShareWrite,
                                   KivSys::OpenExisting, KivSys::AttributeNormal);
    return KivSys::CreateFileA(name, READ_WRITE, KivSys::ShareNone,
                               mode == OpenMode::ReadWrite ? KivSys::OpenAlways : KivSys::CreateAlways,
                               KivSys::AttributeNormal);
}

std::uint64_t MemoryMapFile::FileSize() const
{
    KivSys::DWORD high = 0;
    const KivSys::DWORD low = KivSys::GetFileSize(m_file.Get(), &high);
    return std::uint64_t{high} << 32 | low;
}

void MemoryMapFile::CreateFileMappingObject()
{
    if (m_mapping.IsValid() || m_size == 0)
        return;
    // The system maps memory that belongs to no file when it is given no file.
    KivSys::SetLastError(KivSys::ErrorInvalidHandle);
    if (m_file.IsValid())
        m_mapping = KivSys::CreateFileMappingW(
            m_file.Get(), IsWritable() ? KivSys::PageReadWrite : KivSys::PageReadOnly, High(m_size), Low(m_size));
    if (!m_mapping.IsValid())
        ThrowForOpen(m_mode);
}

void MemoryMapFile::ReleaseViews()
{
    for (const auto& [offset, view] : m_views)
        KivSys::UnmapViewOfFile(view);
    m_views.clear();
}

void MemoryMapFile::Throw(Action action) const
{
    static constexpr FailureRow<Action> FAILURES[] = {
        {Action::OpenForReading, MessageId::OpeningForReading, Raise<FileCannotOpenException>},
        {Action::OpenForWriting, MessageId::OpeningForWriting, Raise<FileCannotOpenException>},
        {Action::Delete, MessageId::Deleting, Raise<FileException>},
        {Action::GetView, MessageId::MappingView, Raise<FileException>},
        {Action::ReleaseView, MessageId::ReleasingView, Raise<FileException>},
    };
    ThrowFailure(FAILURES, action, "src/KivMemoryMapFile", m_filename);
}

void MemoryMapFile::ThrowForOpen(OpenMode mode) const
{
    Throw(mode == OpenMode::Read ? Action::OpenForReading : Action::OpenForWriting);
}

} // namespace KivFile
