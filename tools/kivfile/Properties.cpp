#include "Properties.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <istream>
#include <map>
#include <ostream>

#include <nlohmann/json.hpp>

#include <Kiv/Variant.h>
#include <KivFile/OLE/PropertyStorage.h>

#include "Failure.h"
#include "InOrder.h"
#include "InputText.h"
#include "ProgressBar.h"
#include "SourceDocument.h"
#include "Text.h"

namespace KivTool
{
namespace
{

using KivFile::OLE::PropertyStorage;
using Json = nlohmann::ordered_json;

struct DocumentProperties {
    std::map<PropertyStorage::PROPERTY_ENUM, Kiv::Variant> byEnum;
    std::map<std::string, Kiv::Variant, Kiv::NoCase> byName;

    [[nodiscard]] bool IsEmpty() const { return byEnum.empty() && byName.empty(); }

    // Visits the well-known properties in their order, then the named ones. Names are UTF-8.
    template <class Visit>
    void ForEach(const Visit& visit) const
    {
        for (const auto& [property, value] : byEnum)
            visit(std::string(PropertyStorage::PropertyName(property)), value);
        for (const auto& [name, value] : byName)
            visit(name, value);
    }
};

// What one document contributes to the output.
struct Report {
    std::string out;
    std::string err;
};

Json ToJson(const Kiv::Variant& value)
{
    return std::visit(
        [&](const auto& v) -> Json {
            using T = std::remove_cvref_t<decltype(v)>;
            if constexpr (std::is_same_v<T, double>) {
                return std::isfinite(v) ? Json(v) : Json(Kiv::Utf8(value.AsWString()));
            } else if constexpr (std::is_same_v<T, float>) {
                // The decimal digits that read back as the same float.
                const std::string digits = Kiv::Utf8(value.AsWString());
                return std::isfinite(v) ? Json(std::stod(digits)) : Json(digits);
            } else if constexpr (std::is_arithmetic_v<T>) {
                return v;
            } else {
                return Kiv::Utf8(value.AsWString());
            }
        },
        value.Get());
}

std::string Line(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string FormatJson(const std::string& file, const DocumentProperties& properties)
{
    Json list = Json::array();
    properties.ForEach([&](const std::string& name, const Kiv::Variant& value) {
        list.push_back({{"name", name}, {"type", std::string(value.TypeName())}, {"value", ToJson(value)}});
    });
    return Line({{"file", JsonFileName(file)}, {"properties", std::move(list)}});
}

std::string FormatText(const std::string& file, const DocumentProperties& properties)
{
    std::string text = PrintableFileName(file) + '\n';
    properties.ForEach([&](const std::string& name, const Kiv::Variant& value) {
        text += "  " + Printable(Kiv::Wide(name)) + ": " + PrintableLines(value.AsWString(), "    ") + '\n';
    });
    return text;
}

std::string FormatFailure(const std::string& file, const Failure& failure)
{
    return Line(
        {{"file", JsonFileName(file)}, {"error", {{"class", failure.className}, {"message", failure.message}}}});
}

Report ReportOn(const std::string& file, bool json, std::istream& in)
{
    Report report;
    Failure failure;
    const bool succeeded = Attempt(failure, [&] {
        if (file.find('\0') != file.npos)
            throw ToolError{"holds a zero byte, which no name does"};
        DocumentProperties properties;
        SourceDocument document(file, in);
        document.Root().Properties(properties.byEnum, properties.byName);
        if (properties.IsEmpty())
            document.RequireWhole();
        report.out = json ? FormatJson(file, properties) : FormatText(file, properties);
        document.RequireWhole();
    });
    if (!succeeded) {
        if (report.out.empty() && json)
            report.out = FormatFailure(file, failure);
        report.err = "kivfile: " + PrintableFileName(file) + ": " + failure.message + '\n';
    }
    return report;
}

void ReadNames(std::istream& in, std::vector<std::string>& names)
{
    bool isFirst = true;
    for (std::string line; std::getline(in, line); isFirst = false) {
        if (isFirst && HasMark(line))
            line.erase(0, MARK.size());
        if (line.ends_with('\r'))
            line.pop_back();
        if (!line.empty())
            names.push_back(line);
    }
    if (in.bad())
        throw ToolError{"cannot be read"};
}

std::vector<std::string> AllFiles(const PropertiesOptions& options, std::istream& in)
{
    std::vector<std::string> files = options.files;
    if (options.filesFrom == "-") {
        ReadNames(in, files);
    } else if (!options.filesFrom.empty()) {
        std::ifstream list(options.filesFrom, std::ios::binary);
        if (!list)
            throw ToolError{"cannot be opened"};
        ReadNames(list, files);
    }
    if (std::ranges::count(files, "-") + (options.filesFrom == "-" ? 1 : 0) > 1)
        throw ToolError{"standard input can be read only once"};
    return files;
}

} // namespace

int PrintProperties(const PropertiesOptions& options, const Console& console)
{
    std::vector<std::string> files;
    Failure failure;
    if (!Attempt(failure, [&] { files = AllFiles(options, console.in); })) {
        if (!options.quiet)
            console.err << "kivfile: " << PrintableFileName(options.filesFrom) << ": " << failure.message << '\n';
        return SomethingFailed;
    }

    ProgressBar bar(console.err, console.errIsTerminal && !options.quiet, files.size());
    int code = AllWell;
    std::size_t done = 0;
    ForEachInOrder<Report>(
        files.size(), options.jobs, [&](std::size_t i) { return ReportOn(files[i], options.json, console.in); },
        [&](const Report& report) {
            if (console.outIsTerminal || !report.err.empty())
                bar.Hide(); // it would stand in the middle of the line
            console.out << report.out;
            if (!report.err.empty()) {
                code = SomethingFailed;
                if (!options.quiet)
                    console.err << report.err;
            }
            bar.Update(++done);
        });
    return code;
}

} // namespace KivTool
