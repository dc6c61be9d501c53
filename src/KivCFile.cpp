#include <KivFile/CFile.h>

#include <algorithm>

#include <platform/Platform.h>
#include <src/BufferLimits.h>
#include <src/MessageRecord.h>

namespace KivFile
{

namespace
{

// A file that cannot be opened is the one failure whose class depends on the system's code.
void RaiseForOpen(const Record& record)
{
    switch (*record->LastError()) {
    case KivSys::ErrorSharingViolation:
        throw SharingViolationException(record);
    case KivSys::ErrorAccessDenied:
        throw FileAccessDeniedException(record);
    default:
        throw FileCannotOpenException(record);
    }
}

} // namespace

std::map<char, bool> CFileBase::m_mSparseDrive;

CFileBase::CFileBase(const std::string& path) : m_path(path) {}

CFileBase::~CFileBase() = default;

void CFileBase::Throw(Action action) const
{
    static constexpr FailureRow<Action> FAILURES[] = {
        {Action::OpenForReading, MessageId::OpeningForReading, RaiseForOpen},
        {Action::OpenForWriting, MessageId::OpeningForWriting, RaiseForOpen},
        {Action::Delete, MessageId::Deleting, Raise<FileCannotDeleteException>},
        {Action::Seek, MessageId::Seeking, Raise<FileException>},
        {Action::Write, MessageId::Writing, Raise<WriteErrorException>},
        {Action::Read, MessageId::Reading, Raise<FileException>},
        {Action::QueryAttributes, MessageId::QueryingAttributes, Raise<FileException>},
    };
    ThrowFailure(FAILURES, action, "src/KivCFile", m_path.FullPath());
}

CFileT<unsigned int>::CFileT(const std::string& path, AccessHint accessHint, bool buffered, bool sparse)
    : CFileBase(path), m_accessHint(accessHint), m_buffered(buffered), m_sparseRequested(sparse)
{
}

CFileT<unsigned int>::~CFileT()
{
    if (m_backupContext != nullptr)
        KivSys::AbortBackupRead(m_handle.Get(), &m_backupContext);
}

unsigned int CFileT<unsigned int>::Write(const void* src, unsigned int elementSize, unsigned int count)
{
    const std::uint32_t bytes = ByteCount(elementSize, count, Action::Write);
    KivSys::DWORD written = 0;
    const bool done = KivSys::WriteFile(m_handle.Get(), src, bytes, &written) && written == bytes;
    if (!done) {
        m_position += written;
        m_size = std::max(m_size, m_position);
        Throw(Action::Write);
    }
    Advance(written, Action::Write);
    m_size = std::max(m_size, m_position);
    return written;
}

unsigned int CFileT<unsigned int>::Read(void* dst, unsigned int elementSize, unsigned int count, bool exact)
{
    const std::uint32_t bytes = ByteCount(elementSize, count, Action::Read);
    KivSys::DWORD read = 0;
    if (!KivSys::ReadFile(m_handle.Get(), dst, bytes, &read)) {
        m_position += read;
        Throw(Action::Read);
    }
    Advance(read, Action::Read);
    if (exact && read < bytes) {
        KivSys::SetLastError(KivSys::ErrorHandleEof);
        Throw(Action::Read);
    }
    return read;
}

unsigned int CFileT<unsigned int>::Open(OpenMode mode)
{
    switch (mode) {
    case OpenMode::Read:
    case OpenMode::ReadWrite:
    case OpenMode::Truncate:
        m_handle.Close();
        m_handle = CreateHandle(mode);
        m_writable = m_handle.IsValid() && mode != OpenMode::Read;
        break;
    }
    if (!m_handle.IsValid())
        Throw(mode == OpenMode::Read ? Action::OpenForReading : Action::OpenForWriting);
    if (m_sparseRequested && m_path.HasDrive())
        MakeSparse();
    m_sparseRequested = false;
    m_position = 0;
    m_size = KivSys::GetFileSize(m_handle.Get(), nullptr);
    return m_size;
}

void CFileT<unsigned int>::Close()
{
    m_handle.Close();
}

void CFileT<unsigned int>::Delete()
{
    Close();
    m_path.ClearAttributes();
    if (m_path.IsFile() && KivSys::UnlinkA(m_path.FullPath().c_str()) != 0)
        Throw(Action::Delete);
}

unsigned int CFileT<unsigned int>::Tell() const
{
    return m_position;
}

bool CFileT<unsigned int>::EndOfFile() const
{
    return m_position == m_size;
}

unsigned int CFileT<unsigned int>::Seek(unsigned int offset, MoveMethod method, Direction direction)
{
    const bool forward = direction == Kiv::BinaryStreamBufT<unsigned int>::Forward;
    const unsigned int before = method == FromBegin ? 0 : method == FromEnd ? m_size : m_position;
    if (!forward && (method == FromBegin || offset > before))
        throw SeekOutOfRangeException();
    if (forward && method == FromEnd && offset > LARGEST_POSITION - m_size)
        throw SeekOutOfRangeException();
    const bool fits = MoveFilePointer(forward ? std::int64_t{offset} : -std::int64_t{offset}, method);
    m_size = std::max(m_size, m_position);
    if (!fits)
        ThrowTooLarge(Action::Seek);
    return m_position;
}

unsigned int CFileT<unsigned int>::Size() const
{
    return m_size;
}

void CFileT<unsigned int>::Resize(unsigned int newSize, bool force)
{
    if (newSize == m_size && !force)
        return;
    if (!MoveFilePointer(newSize, FromBegin) || !KivSys::SetEndOfFile(m_handle.Get()))
        Throw(Action::Seek);
    m_size = newSize;
}

void CFileT<unsigned int>::Flush()
{
    if (m_writable)
        KivSys::FlushFileBuffers(m_handle.Get());
}

void CFileT<unsigned int>::Extend(unsigned int count)
{
    if (count > LARGEST_POSITION - m_size)
        throw SeekOutOfRangeException();
    if (!MoveFilePointer(count, FromEnd))
        ThrowTooLarge(Action::Seek);
    m_size = std::max(m_size, m_position);
    if (!KivSys::SetEndOfFile(m_handle.Get()))
        Throw(Action::Seek);
}

void* CFileT<unsigned int>::CreateHandle(OpenMode mode) const
{
    static constexpr KivSys::DWORD HINT_FLAGS[] = {
        KivSys::AttributeNormal,    KivSys::FlagSequentialScan, KivSys::FlagRandomAccess,
        KivSys::AttributeTemporary, KivSys::FlagDeleteOnClose,
    };
    const KivSys::DWORD flags = HINT_FLAGS[m_accessHint] | (m_buffered ? 0u : KivSys::FlagWriteThrough);
    const char* const path = m_path.FullPath().c_str();
    constexpr KivSys::DWORD READ_WRITE = KivSys::GenericRead | KivSys::GenericWrite;
    if (mode == OpenMode::Read)
        return KivSys::CreateFileA(path, KivSys::GenericRead, KivSys::ShareRead, KivSys::OpenExisting, flags);
    return KivSys::CreateFileA(path, READ_WRITE, KivSys::ShareNone,
                               mode == OpenMode::ReadWrite ? KivSys::OpenAlways : KivSys::CreateAlways, flags);
}

bool CFileT<unsigned int>::DriveHoldsSparseFiles() const
{
    const char letter = m_path.FullPath().front();
    const auto known = m_mSparseDrive.find(letter);
    if (known != m_mSparseDrive.end())
        return known->second;
    KivSys::DWORD flags = 0;
    const bool holds = KivSys::GetVolumeInformationA((std::string(1, letter) + ":\\").c_str(), &flags) &&
                       (flags & KivSys::FileSupportsSparseFiles) != 0;
    return m_mSparseDrive[letter] = holds;
}

// A drive that promises sparse files and then refuses one leaves an ordinary file, which serves as well.
void CFileT<unsigned int>::MakeSparse()
{
    if (!DriveHoldsSparseFiles())
        return;
    const KivSys::DWORD attributes = KivSys::GetFileAttributesA(m_path.FullPath().c_str());
    if (attributes == KivSys::InvalidFileAttributes)
        Throw(Action::QueryAttributes);
    if ((attributes & KivSys::AttributeSparseFile) == 0)
        KivSys::DeviceIoControl(m_handle.Get(), KivSys::FsctlSetSparse);
}

// Moves the file pointer; the position follows it. Returns whether it still fits 32 bits.
bool CFileT<unsigned int>::MoveFilePointer(std::int64_t distance, MoveMethod method)
{
    auto high = static_cast<KivSys::LONG>(distance >> 32);
    const KivSys::DWORD low =
        KivSys::SetFilePointer(m_handle.Get(), static_cast<KivSys::LONG>(distance & 0xFFFFFFFF), &high, method);
    if (low == KivSys::InvalidSetFilePointer && KivSys::GetLastError() != KivSys::ErrorSuccess)
        Throw(Action::Seek);
    m_position = low;
    return high == 0;
}

std::uint32_t CFileT<unsigned int>::ByteCount(unsigned int elementSize, unsigned int count, Action action) const
{
    const std::uint64_t bytes = std::uint64_t{elementSize} * count;
    if (bytes > LARGEST_POSITION)
        ThrowTooLarge(action);
    return static_cast<std::uint32_t>(bytes);
}

// Moves the position behind what was transferred. It wraps, and that is a failure, where it leaves 32 bits.
void CFileT<unsigned int>::Advance(std::uint32_t count, Action action)
{
    const bool wraps = count > LARGEST_POSITION - m_position;
    m_position += count;
    if (wraps)
        ThrowTooLarge(action);
}

void CFileT<unsigned int>::ThrowTooLarge(Action action) const
{
    KivSys::SetLastError(KivSys::ErrorFileTooLarge);
    Throw(action);
}

} // namespace KivFile
