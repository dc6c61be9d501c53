#include "SourceDocument.h"

#include <istream>
#include <vector>

#include "Failure.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

constexpr unsigned int PIECE = 32768;
constexpr unsigned int STAGING = 32768;

} // namespace

std::unique_ptr<KivFile::DiskBuffer> MakeScratchBuffer()
{
    return std::make_unique<KivFile::DiskBuffer>("", PIECE, 0x40000);
}

SourceDocument::SourceDocument(const std::string& name, std::istream& standardInput)
{
    Kiv::BinaryStreamBufT<unsigned int>& source = name == "-" ? ReadAll(standardInput) : OpenFile(name);
    m_size = source.Size();
    m_root = Kiv::MakeShared<KivFile::OLE::Storage>("", source);
}

void SourceDocument::RequireWhole() const
{
    if (!m_root->IsDirectoryWhole())
        throw ToolError{"cut short or damaged: part of the directory is missing"};
}

Kiv::BinaryStreamBufT<unsigned int>& SourceDocument::OpenFile(const std::string& name)
{
    using File = KivFile::CFileT<unsigned int>;
    m_file = std::make_unique<File>(KivSys::PathFromUser(name), File::Normal, true, false);
    m_file->Open(File::OpenMode::Read);
    m_fileBuffer = std::make_unique<KivFile::ICFileBufferT<unsigned int>>(m_file.get(), STAGING);
    return *m_fileBuffer;
}

Kiv::BinaryStreamBufT<unsigned int>& SourceDocument::ReadAll(std::istream& input)
{
    m_copy = MakeScratchBuffer();
    std::vector<char> piece(PIECE);
    while (input.read(piece.data(), PIECE), input.gcount() > 0)
        m_copy->Write(piece.data(), static_cast<unsigned int>(input.gcount()));
    if (input.bad())
        throw ToolError{"standard input cannot be read"};
    return *m_copy;
}

} // namespace KivTool
