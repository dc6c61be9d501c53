#include "EditedFile.h"

#include <KivBase/Handle.h>
#include <KivFile/CFileBuffer.h>
#include <KivFile/Path.h>
#include <KivThread/ThreadException.h>

#include "Failure.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using File = KivFile::CFileT<unsigned int>;

std::string ReadOpened(const std::string& name, File::OpenMode mode)
{
    File file(name);
    file.Open(mode);
    KivFile::ICFileBufferT<unsigned int> buffer(&file, 0);
    std::string bytes;
    buffer.Copy(bytes, 0xFFFFFFFF); // to the end: a pipe has no size, and a file beyond 4 GiB throws
    return bytes;
}

} // namespace

std::string ReadBytes(const std::string& file)
{
    return ReadOpened(file, File::OpenMode::Read);
}

void WriteBytes(const std::string& name, const std::string& bytes)
{
    File file(name);
    file.Open(File::OpenMode::Truncate);
    file.Write(bytes.data(), 1, static_cast<unsigned int>(bytes.size()));
    file.Flush();
}

EditedFile::EditedFile(const std::string& name)
    : m_target(KivSys::FollowLinks(KivSys::PathFromUser(name))), m_exists(KivFile::PathT<char>(m_target).Exists())
{
    if (m_exists && !KivSys::IsRegularFile(m_target.c_str()))
        throw ToolError{"is no regular file"};
    if (m_exists)
        m_content = ReadOpened(m_target, File::OpenMode::ReadWrite);
    CreateWorkFile();
}

EditedFile::~EditedFile()
{
    if (!m_workFile.empty())
        KivSys::UnlinkA(m_workFile.c_str());
}

void EditedFile::Commit()
{
    if (!KivSys::ReplaceFileA(m_target.c_str(), m_workFile.c_str()))
        KivThread::ThrowLastError();
    m_workFile.clear();
}

// It has the file's rights before it has content, which others may not be allowed to see.
void EditedFile::CreateWorkFile()
{
    const std::string name = m_target + ".kivfile-" + std::to_string(KivSys::GetCurrentProcessId());
    const Kiv::Handle file(KivSys::CreateFileA(name.c_str(), KivSys::GenericWrite, KivSys::ShareNone, KivSys::CreateNew,
                                               KivSys::AttributeNormal));
    if (!file.IsValid())
        KivThread::ThrowLastError();
    m_workFile = name;
    if (m_exists && !KivSys::CopyOwnerAndRights(m_target.c_str(), name.c_str())) {
        const KivSys::DWORD error = KivSys::GetLastError();
        KivSys::UnlinkA(name.c_str()); // no destructor runs
        KivSys::SetLastError(error);
        KivThread::ThrowLastError();
    }
}

} // namespace KivTool
