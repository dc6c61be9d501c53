// Walking a document's tree, and the ls command.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <KivFile/OLE/Storage.h>

#include "Commands.h"

namespace KivTool
{

// One storage or stream of a document's tree.
struct TreeEntry {
    std::vector<Kiv::WString> folders; // names of the storages above it, outermost first
    KivFile::OLE::Storage::Item item;
    bool isStorage;
    const KivFile::OLE::Storage* parent; // valid during the visit
};

// Visits all storages and streams, a storage before what it holds, each directory entry once: a storage that contains
// itself or an ancestor is not entered again. Returns false when something was left out because the tree is no sane
// one: nested too deep, or with the same entries in many storages. Documents have a handful of levels; the paths of a
// hostile chain of storages would add up to the square of the document's size.
inline constexpr char LEFT_OUT[] = "storages nested too deep, or in each other, are left out";
bool VisitTree(KivFile::OLE::Storage& root, const std::function<void(const TreeEntry&)>& visit);

// Prints the tree of storages and streams.
int List(const std::string& file, bool json, bool quiet, const Console& console);

} // namespace KivTool
