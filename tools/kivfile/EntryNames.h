// Names of storages and streams as path components: percent-encoded, and safe as file names.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <KivBase/NoCase.h>
#include <KivBase/WString.h>

namespace KivTool
{

// How a name appears in a path like "A/B/name": '/' and '%' are percent-encoded, and so is broken text, so that every
// name can be given back by the user. UTF-8.
std::string EncodeName(Kiv::WStringView name);

// The same with control characters encoded too, for a terminal.
std::string EncodePrintableName(Kiv::WStringView name);

// The names in a path that a user typed, percent-decoded. Empty components are dropped.
std::vector<Kiv::WString> DecodePath(std::string_view path);

// The file names of one folder: each name that comes out of a document becomes a single component that is safe on every
// system and different from all others in the folder, also where letter case does not count.
class SafeNames
{
public:
    // Narrow text. What a file name cannot hold is percent-encoded, the first letter of a reserved device name too; a
    // name that is taken gets "~2", "~3", ... at its end.
    std::string Add(Kiv::WStringView name);

private:
    std::set<Kiv::WString, Kiv::WNoCase> m_taken;
    std::map<Kiv::WString, unsigned int, Kiv::WNoCase> m_next; // the number to try next for a name that is taken
};

} // namespace KivTool
