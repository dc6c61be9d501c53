#include "PathCommand.h"

#include <iomanip>
#include <ostream>

#include <KivFile/FileException.h>
#include <KivFile/Path.h>
#include <nlohmann/json.hpp>

#include "Text.h"

namespace KivTool
{
namespace
{

using Json = nlohmann::ordered_json;
using Path = KivFile::PathT<char>;

struct AttributeRow {
    const char* name;
    bool (*isSet)(const Path&);
};

constexpr AttributeRow ATTRIBUTES[] = {
    {"directory", [](const Path& path) { return path.IsDirectory(); }},
    {"read-only", [](const Path& path) { return path.IsReadOnly(); }},
    {"hidden", [](const Path& path) { return path.IsHidden(); }},
    {"offline", [](const Path& path) { return path.Exists() && !path.IsReadable(); }},
    {"not-indexed", [](const Path& path) { return path.IsNotIndexed(); }},
};

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json() : Json(JsonFileName(text));
}

Json ServerOf(const Path& path)
{
    try {
        return TextOrNull(path.GetServer());
    } catch (const KivFile::FileException&) {
        return Json(); // the drive is not there, so nobody serves it
    }
}

Json UNCFormOf(const Path& path)
{
    std::string name;
    path.GetFullPathAsUNC(name);
    return TextOrNull(name);
}

Json AttributesOf(const Path& path)
{
    Json names = Json::array();
    for (const AttributeRow& row : ATTRIBUTES) {
        if (row.isSet(path))
            names.push_back(row.name);
    }
    return names;
}

Json Describe(const std::string& text)
{
    const Path path(text);
    Json object = {
        {"text", JsonFileName(text)},
        {"path", JsonFileName(path.FullPath())},
        {"drive", TextOrNull(path.HasDrive() ? path.FullPath().substr(0, 2) : "")},
        {"root", TextOrNull(path.Root())},
        {"directory", TextOrNull(path.Directory())},
        {"name", TextOrNull(path.FileName())},
        {"extension", TextOrNull(path.FileExtension())},
        {"uri", JsonFileName(path.GetURI())},
        {"server", ServerOf(path)},
        {"unc", UNCFormOf(path)},
        {"exists", path.Exists()},
    };
    if (path.Exists()) {
        object["attributes"] = AttributesOf(path);
        object["size"] = path.Size();
        object["date"] = path.GetLastModificationDate().ToString();
    }
    return object;
}

std::string InWords(const Json& value)
{
    if (value.is_null())
        return "-";
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_string())
        return Printable(Kiv::Wide(value.get<std::string>()));
    if (!value.is_array())
        return value.dump();
    std::string words;
    for (const Json& word : value)
        words += (words.empty() ? "" : " ") + word.get<std::string>();
    return words.empty() ? "-" : words;
}

void PrintLines(const Json& object, std::ostream& out)
{
    for (const auto& [name, value] : object.items())
        out << std::left << std::setw(12) << name << InWords(value) << '\n';
}

} // namespace

int PrintPaths(const PathOptions& options, const Console& console)
{
    bool isFirst = true;
    for (const std::string& text : options.texts) {
        const Json object = Describe(text);
        if (options.json) {
            console.out << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        } else {
            console.out << (isFirst ? "" : "\n");
            PrintLines(object, console.out);
        }
        isFirst = false;
    }
    return AllWell;
}

} // namespace KivTool
