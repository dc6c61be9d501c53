#include "DocumentCommands.h"

#include <ostream>
#include <vector>

#include <KivFile/Path.h>

#include "EntryNames.h"
#include "Failure.h"
#include "Listing.h"
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

void CopyOut(KivFile::DiskBuffer& content, std::ostream& out)
{
    std::vector<char> piece(STAGING);
    while (const unsigned int n = content.Get(piece.data(), STAGING))
        out.write(piece.data(), n);
}

void PrintStreamOf(Storage& root, const std::string& path, std::ostream& out)
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
    const unsigned int size = content->Size();
    CopyOut(*content, out);
    if (size < stream.size)
        ThrowCutShort(size, stream.size);
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
        m_folders.push_back({MakeFolder(KivSys::PathFromUser(m_options.directory)), {}});
        const bool isComplete = VisitTree(document.Root(), [&](const TreeEntry& entry) { ExtractEntry(entry); });
        if (!isComplete)
            throw ToolError{"storages nested deeper than " + std::to_string(MAX_DEPTH) + " levels are left out"};
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
            if (entry.isStorage)
                m_folders.push_back({MakeFolder(target), {}});
            else
                WriteStream(entry, target);
        });
        if (!succeeded)
            Report(KivSys::PathForUser(target), failure);
    }

    static std::string MakeFolder(const std::string& folder)
    {
        Path path(folder);
        if (!path.IsDirectory() && KivSys::MakeDirectoryA(path.FullPath().c_str()) != 0)
            throw ToolError{"the folder " + PrintableFileName(KivSys::PathForUser(folder)) + " cannot be created"};
        path.ClearAttributes();
        return path.Directory();
    }

    void WriteStream(const TreeEntry& entry, const std::string& target) const
    {
        if (!m_options.force && Path(target).Exists())
            throw ToolError{"exists already (--force replaces it)"};
        File file(target, File::Normal, true, false);
        file.Open(File::OpenMode::Truncate);
        FileBuffer buffer(&file, STAGING);
        entry.parent->ReadStream(entry.item.id, buffer);
        buffer.Flush();
        if (file.Size() < entry.item.size)
            ThrowCutShort(file.Size(), entry.item.size);
    }

    void Report(const std::string& name, const Failure& failure)
    {
        m_code = SomethingFailed;
        if (!m_options.quiet)
            m_console.err << "kivfile: " << PrintableFileName(name) << ": " << failure.message << '\n';
    }

    const ExtractOptions& m_options;
    const Console& m_console;
    std::vector<Folder> m_folders; // the path from the directory to the folder that is being filled
    int m_code = AllWell;
};

} // namespace

int PrintStream(const std::string& file, const std::string& path, bool quiet, const Console& console)
{
    Failure failure;
    const bool succeeded = Attempt(failure, [&] {
        SourceDocument document(file, console.in);
        PrintStreamOf(document.Root(), path, console.out);
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
