#include "DocumentCommands.h"

#include <optional>
#include <vector>

#include <KivFile/OStreamBuffer.h>
#include <KivFile/Path.h>
#include <KivFile/ProgressBuffer.h>

#include "EntryNames.h"
#include "Failure.h"
#include "Listing.h"
#include "ProgressBar.h"
#include "SourceDocument.h"
#include "Text.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using KivFile::OLE::Storage;
using File = KivFile::CFileT<unsigned int>;
using FileBuffer = KivFile::OCFileBufferT<unsigned int>;
using Path = KivFile::PathT<char>;

constexpr unsigned int STAGING = 32768;

[[noreturn]] void ThrowCutShort(unsigned int written, unsigned int size)
{
    throw ToolError{"cut short: " + std::to_string(written) + " of " + std::to_string(size) + " bytes"};
}

// The stream's item in the storage that holds it.
const Storage::Item& FindStream(const Storage& storage, const Kiv::WString& name)
{
    for (const Storage::Item& stream : storage.Streams()) {
        if (stream.name == name)
            return stream;
    }
    throw KivFile::OLE::StreamNotFoundOLEException();
}

bool WantsProgress(const Console& console, bool quiet)
{
    return console.errIsTerminal && !quiet;
}

void CopyOut(KivFile::DiskBuffer& content, const Console& console, bool quiet)
{
    const unsigned int size = content.Size();
    ProgressBar bar(console.err, WantsProgress(console, quiet), size);
    KivFile::OStreamBuffer out(console.out);
    KivFile::OProgressBuffer progress(out, Kiv::MakeShared<ProgressLog>(bar, 0, size), size);
    content.Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(progress), size);
}

void PrintStreamOf(Storage& root, const std::string& path, const Console& console, bool quiet)
{
    std::vector<Kiv::WString> names = DecodePath(path);
    if (names.empty())
        throw KivFile::OLE::StreamNotFoundOLEException();
    const Kiv::WString streamName = names.back();
    names.pop_back();

    Kiv::SmartPtr<Storage> storage(&root);
    for (const Kiv::WString& name : names)
        storage = storage->OpenStorage(name);

    const Storage::Item& stream = FindStream(*storage, streamName);
    const auto content = MakeScratchBuffer();
    storage->ReadStream(stream.id, *content);
    CopyOut(*content, console, quiet);
    if (content->Size() < stream.size)
        ThrowCutShort(content->Size(), stream.size);
}

class Extraction
{
public:
    Extraction(const ExtractOptions& options, const Console& console) : m_options(options), m_console(console) {}

    int Run()
    {
        Failure failure;
        if (!Attempt(failure, [&] { ExtractAll(); }))
            Report(m_options.file, failure);
        return m_code;
    }

private:
    // A folder that is being filled.
    struct Folder {
        std::string path; // house form, ends in a backslash
        SafeNames names;
    };

    void ExtractAll()
    {
        SourceDocument document(m_options.file, m_console.in);
        if (WantsProgress(m_console, m_options.quiet))
            m_bar.emplace(m_console.err, true, DeclaredBytes(document.Root()));
        m_bytesLeft = document.Size();
        m_folders.push_back({MakeFolder(KivSys::PathFromUser(m_options.directory)), {}});
        const bool isComplete = VisitTree(document.Root(), [&](const TreeEntry& entry) { ExtractEntry(entry); });
        if (!isComplete)
            throw ToolError{LEFT_OUT};
        document.RequireWhole();
    }

    static std::size_t DeclaredBytes(Storage& root)
    {
        std::size_t bytes = 0;
        VisitTree(root, [&](const TreeEntry& entry) { bytes += entry.isStorage ? 0 : entry.item.size; });
        return bytes;
    }

    void ExtractEntry(const TreeEntry& entry)
    {
        const std::size_t depth = entry.folders.size() + 1;
        if (m_folders.size() < depth)
            return; // its folder could not be made, which has been reported
        m_folders.erase(m_folders.begin() + static_cast<std::ptrdiff_t>(depth), m_folders.end());
        Folder& folder = m_folders.back();
        const std::string target = folder.path + folder.names.Add(entry.item.name);
        Failure failure;
        const bool succeeded = Attempt(failure, [&] {
            RefuseLink(target);
            if (entry.isStorage)
                m_folders.push_back({MakeFolder(target), {}});
            else
                WriteStream(entry, target);
        });
        if (!succeeded)
            Report(KivSys::PathForUser(target), failure);
    }

    // A link that lies in the directory already could lead anywhere.
    static void RefuseLink(const std::string& target)
    {
        const KivSys::DWORD attributes = KivSys::GetFileAttributesA(target.c_str());
        if (attributes != KivSys::InvalidFileAttributes && (attributes & KivSys::AttributeReparsePoint) != 0)
            throw ToolError{"is a link"};
    }

    static std::string MakeFolder(const std::string& folder)
    {
        Path path(folder);
        if (!path.IsDirectory() && KivSys::MakeDirectoryA(path.FullPath().c_str()) != 0)
            throw ToolError{"the folder " + PrintableFileName(KivSys::PathForUser(folder)) + " cannot be created"};
        path.ClearAttributes();
        return path.Directory();
    }

    // Makes the log for a stream's share of the whole document. Few of many small streams come to report themselves.
    Kiv::SmartPtr<Kiv::LogEntryCallInterface> BeginStream(unsigned int size)
    {
        if (!m_bar)
            return nullptr;
        m_bar->Update(m_bytesBefore);
        const auto log = Kiv::MakeShared<ProgressLog>(*m_bar, m_bytesBefore, size);
        m_bytesBefore += size;
        return log;
    }

    void WriteStream(const TreeEntry& entry, const std::string& target)
    {
        if (!m_options.force && Path(target).Exists())
            throw ToolError{"exists already (--force replaces it)"};
        if (m_bytesLeft == 0 && entry.item.size != 0)
            throw ToolError{"left out: the streams share their bytes and come to more than the document"};
        File file(target, File::Normal, true, false);
        file.Open(File::OpenMode::Truncate);
        FileBuffer buffer(&file, STAGING);
        KivFile::OProgressBuffer progress(buffer, BeginStream(entry.item.size), entry.item.size);
        entry.parent->ReadStream(entry.item.id, progress);
        buffer.Flush();
        m_bytesLeft -= std::min(m_bytesLeft, file.Size());
        if (file.Size() < entry.item.size)
            ThrowCutShort(file.Size(), entry.item.size);
    }

    void Report(const std::string& name, const Failure& failure)
    {
        m_code = SomethingFailed;
        if (m_bar)
            m_bar->Hide();
        if (!m_options.quiet)
            m_console.err << "kivfile: " << PrintableFileName(name) << ": " << failure.message << '\n';
    }

    const ExtractOptions& m_options;
    const Console& m_console;
    std::optional<ProgressBar> m_bar;
    std::size_t m_bytesBefore = 0; // of the streams that have been begun
    unsigned int m_bytesLeft = 0;  // what streams that do not overlap can still hold
    std::vector<Folder> m_folders; // the path from the directory to the folder that is being filled
    int m_code = AllWell;
};

} // namespace

int PrintStream(const std::string& file, const std::string& path, bool quiet, const Console& console)
{
    Failure failure;
    const bool succeeded = Attempt(failure, [&] {
        SourceDocument document(file, console.in);
        PrintStreamOf(document.Root(), path, console, quiet);
    });
    if (!succeeded && !quiet)
        console.err << "kivfile: " << PrintableFileName(file) << ": " << PrintableFileName(path) << ": "
                    << failure.message << '\n';
    return succeeded ? AllWell : SomethingFailed;
}

int Extract(const ExtractOptions& options, const Console& console)
{
    return Extraction(options, console).Run();
}

} // namespace KivTool
