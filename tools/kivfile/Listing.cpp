#include "Listing.h"

#include <iomanip>
#include <ostream>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "EntryNames.h"
#include "Failure.h"
#include "SourceDocument.h"
#include "Text.h"

namespace KivTool
{
namespace
{

using KivFile::OLE::Storage;
using Json = nlohmann::ordered_json;

constexpr std::size_t MOST_LEVELS = 32;
constexpr std::size_t MOST_REPEATS = 10'000;

class TreeVisitor
{
public:
    explicit TreeVisitor(const std::function<void(const TreeEntry&)>& visit) : m_visit(visit) {}

    // The recursion is at most MOST_LEVELS deep.
    void Enter(Storage& storage)
    {
        for (const Storage::Item& stream : storage.Streams())
            Visit(storage, stream, false);
        for (const Storage::Item& child : storage.Storages()) {
            if (Visit(storage, child, true))
                Descend(storage, child);
        }
    }

    [[nodiscard]] bool IsComplete() const { return m_isComplete; }

private:
    // Whether the entry was met for the first time.
    bool Visit(const Storage& parent, const Storage::Item& item, bool isStorage)
    {
        if (!m_seen.insert(item.id).second) {
            ++m_repeats;
            return false;
        }
        m_visit({m_folders, item, isStorage, &parent});
        return true;
    }

    void Descend(Storage& storage, const Storage::Item& child)
    {
        if (m_folders.size() == MOST_LEVELS || m_repeats > MOST_REPEATS) {
            m_isComplete = false;
            return;
        }
        m_folders.push_back(child.name);
        Enter(*storage.OpenStorage(child.id));
        m_folders.pop_back();
    }

    const std::function<void(const TreeEntry&)>& m_visit;
    std::set<std::uint32_t> m_seen{0}; // the root storage is entry 0
    std::vector<Kiv::WString> m_folders;
    std::size_t m_repeats = 0;
    bool m_isComplete = true;
};

std::string Path(const TreeEntry& entry, std::string (*encode)(Kiv::WStringView))
{
    std::string path;
    for (const Kiv::WString& folder : entry.folders)
        path += encode(folder) + '/';
    return path + encode(entry.item.name);
}

std::string JsonLine(const std::string& file, Storage& root, bool& isComplete)
{
    Json storages = Json::array();
    Json streams = Json::array();
    isComplete = VisitTree(root, [&](const TreeEntry& entry) {
        Json row = {{"path", Path(entry, EncodeName)}, {"id", entry.item.id}};
        if (!entry.isStorage)
            row["size"] = entry.item.size;
        (entry.isStorage ? storages : streams).push_back(std::move(row));
    });
    const Json line = {
        {"file", JsonFileName(file)}, {"storages", std::move(storages)}, {"streams", std::move(streams)}};
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string TextLines(Storage& root, bool& isComplete)
{
    std::ostringstream text;
    isComplete = VisitTree(root, [&](const TreeEntry& entry) {
        text << std::setw(6) << entry.item.id << ' ' << std::setw(10);
        if (entry.isStorage)
            text << "-"
                 << "  " << Path(entry, EncodePrintableName) << "/\n";
        else
            text << entry.item.size << "  " << Path(entry, EncodePrintableName) << '\n';
    });
    return text.str();
}

} // namespace

bool VisitTree(Storage& root, const std::function<void(const TreeEntry&)>& visit)
{
    TreeVisitor visitor(visit);
    visitor.Enter(root);
    return visitor.IsComplete();
}

int List(const std::string& file, bool json, bool quiet, const Console& console)
{
    Failure failure;
    const bool succeeded = Attempt(failure, [&] {
        SourceDocument document(file, console.in);
        bool isComplete = true;
        console.out << (json ? JsonLine(file, document.Root(), isComplete) : TextLines(document.Root(), isComplete));
        if (!isComplete)
            throw ToolError{LEFT_OUT};
        document.RequireWhole();
    });
    if (!succeeded && !quiet)
        console.err << "kivfile: " << PrintableFileName(file) << ": " << failure.message << '\n';
    return succeeded ? AllWell : SomethingFailed;
}

} // namespace KivTool
