// A compound document that the user named.
#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include <KivFile/CFile.h>
#include <KivFile/CFileBuffer.h>
#include <KivFile/DiskBuffer.h>
#include <KivFile/OLE/Storage.h>

namespace KivTool
{

// Opens a document from a file, or from standard input when the name is "-", and keeps what the reader reads from
// alive. Throws what the file handle and the reader throw.
class SourceDocument
{
public:
    SourceDocument(const std::string& name, std::istream& standardInput);

    [[nodiscard]] KivFile::OLE::Storage& Root() { return *m_root; }
    // Bytes of the whole document.
    [[nodiscard]] unsigned int Size() const { return m_size; }
    // Throws a ToolError when part of the directory is missing, and so may be what was looked for in the document. To
    // be called when all that is there has been used.
    void RequireWhole() const;

private:
    Kiv::BinaryStreamBufT<unsigned int>& OpenFile(const std::string& name);
    Kiv::BinaryStreamBufT<unsigned int>& ReadAll(std::istream& input);

    std::unique_ptr<KivFile::CFileT<unsigned int>> m_file;
    std::unique_ptr<KivFile::ICFileBufferT<unsigned int>> m_fileBuffer;
    std::unique_ptr<KivFile::DiskBuffer> m_copy;
    Kiv::SmartPtr<KivFile::OLE::Storage> m_root;
    unsigned int m_size;
};

// A scratch buffer that keeps 256 KiB in memory.
std::unique_ptr<KivFile::DiskBuffer> MakeScratchBuffer();

} // namespace KivTool
