#include "ConfigCommands.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <string_view>

#include <nlohmann/json.hpp>

#include <KivFile/ConfigFile.h>
#include <KivFile/StaticMemoryBuffer.h>

#include "Difference.h"
#include "EditedFile.h"
#include "Failure.h"
#include "InputText.h"
#include "Text.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using Kiv::WString;
using Kiv::WStringView;
using KivFile::ConfigFile;
using Json = nlohmann::ordered_json;

// ---- The form of a file: what the library neither knows nor keeps ---------------------------------------------

struct Form {
    bool hasMark = false; // a byte-order mark: the text is UTF-8 whatever the system's code page
    std::string lineEnd = KivSys::TextLineEnd();
};

// What all lines end with; the platform's line end when they differ.
std::string LineEndOf(std::string_view text)
{
    std::string found;
    for (std::size_t at = text.find_first_of("\r\n"); at != text.npos; at = text.find_first_of("\r\n", at)) {
        const std::string_view lineEnd = text.substr(at, text.substr(at).starts_with("\r\n") ? 2 : 1);
        if (!found.empty() && found != lineEnd)
            return KivSys::TextLineEnd();
        found = lineEnd;
        at += lineEnd.size();
    }
    return found.empty() ? KivSys::TextLineEnd() : found;
}

Form FormOf(std::string_view bytes)
{
    return {HasMark(bytes), LineEndOf(bytes)};
}

// Text as the library wrote it, in the form that the file had.
std::string BytesOf(const std::string& text, const Form& form)
{
    const std::string_view platformEnd = KivSys::TextLineEnd();
    std::string bytes(form.hasMark ? MARK : "");
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(platformEnd, at), text.size());
        bytes.append(text, at, end - at);
        if (end < text.size())
            bytes += form.lineEnd;
        at = end + platformEnd.size();
    }
    return bytes;
}

// ---- Reading ------------------------------------------------------------------------------------------------

ConfigFile Read(const std::string& bytes)
{
    const std::string_view text = TextOf(bytes);
    KivFile::StaticMemoryBuffer buffer(static_cast<const void*>(text.data()), static_cast<unsigned int>(text.size()));
    const auto narrow = static_cast<Kiv::CHARSET>(KivSys::NarrowCodePage());
    return ConfigFile(buffer, HasMark(bytes) ? Kiv::CHARSET::UTF8 : narrow);
}

[[noreturn]] void ThrowNotThere()
{
    throw ToolError{"no such setting"};
}

// A line of text that may hold tabs, which do no harm.
std::string PrintableLine(WStringView text)
{
    std::string result;
    for (;;) {
        const std::size_t tab = std::min(text.find('\t'), text.size());
        result += Printable(text.substr(0, tab));
        if (tab == text.size())
            return result;
        result += '\t';
        text.remove_prefix(tab + 1);
    }
}

void PrintValue(const std::string& head, WStringView value, std::ostream& out)
{
    for (;;) {
        const std::size_t end = std::min(value.find('\n'), value.size());
        out << head << PrintableLine(value.substr(0, end)) << '\n';
        if (end == value.size())
            return;
        value.remove_prefix(end + 1);
    }
}

using Sections = std::vector<std::pair<WString, Kiv::Config::Section>>;

// The section asked for, or all.
Sections Chosen(const ConfigFile& config, const std::optional<std::string>& name)
{
    if (!name)
        return {config.Data().begin(), config.Data().end()};
    const auto found = config.Data().find(Kiv::WideFromNarrow(*name));
    if (found == config.Data().end())
        ThrowNotThere();
    return {*found};
}

void PrintText(const Sections& sections, std::ostream& out)
{
    for (const auto& [name, keys] : sections) {
        out << '[' << PrintableLine(name) << "]\n";
        for (const auto& [key, entry] : keys)
            PrintValue(PrintableLine(key) + " = ", entry.value, out);
    }
}

void PrintJson(const std::string& file, const Sections& sections, std::ostream& out)
{
    Json line = {{"file", JsonFileName(file)}, {"sections", Json::array()}};
    for (const auto& [name, keys] : sections) {
        Json list = Json::array();
        for (const auto& [key, entry] : keys)
            list.push_back({{"name", Kiv::Utf8(key)}, {"value", Kiv::Utf8(entry.value)}});
        line["sections"].push_back({{"name", Kiv::Utf8(name)}, {"keys", std::move(list)}});
    }
    out << line.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

// ---- Changing -----------------------------------------------------------------------------------------------

// Text from the command line as the library will see it in the file, which it takes for narrow text.
WString InFile(const std::string& argument, const Form& form)
{
    const WString text = Kiv::WideFromNarrow(argument);
    return form.hasMark ? Kiv::WideFromNarrow(Kiv::Utf8(text)) : text;
}

// The settings of the file, bound to its work file.
ConfigFile Opened(const EditedFile& file)
{
    WriteBytes(file.WorkFile(), std::string(TextOf(file.Content())));
    return ConfigFile(file.WorkFile(), nullptr);
}

// The file's content with the settings saved into it.
std::string Saved(ConfigFile& config, const EditedFile& file, const Form& form)
{
    config.Save("", true);
    return BytesOf(ReadBytes(file.WorkFile()), form);
}

// The same, with a ToolError for a setting that does not read back. It may even make the whole file invalid.
std::string SavedAsAsked(ConfigFile& config, const EditedFile& file, const Form& form, const ConfigOptions& options)
{
    try {
        std::string content = Saved(config, file, form);
        const ConfigFile written = Read(content);
        const WString* readBack = written.Get(Kiv::WideFromNarrow(*options.section), Kiv::WideFromNarrow(*options.key));
        if (readBack && *readBack == Kiv::WideFromNarrow(options.value))
            return content;
    } catch (const ConfigFile::InvalidConfigException&) {
    }
    throw ToolError{"this setting cannot be written so that it reads back"};
}

// Puts the new content in the file's place, or shows what that would do.
void Finish(EditedFile& file, const std::string& content, const ConfigOptions& options, const Console& console)
{
    if (options.dryRun) {
        console.out << DifferenceOf(file.Content(), content);
        return;
    }
    WriteBytes(file.WorkFile(), content);
    file.Commit();
}

void Set(const ConfigOptions& options, const Console& console)
{
    EditedFile file(options.file);
    const Form form = FormOf(file.Content());
    ConfigFile config = Opened(file);
    const WString section = InFile(*options.section, form);
    const WString key = InFile(*options.key, form);
    const WString value = InFile(options.value, form);
    if (const WString* old = config.Get(section, key); old && *old == value)
        return; // a file that is as it should be keeps its bytes
    config.Set(section, key, value);
    Finish(file, SavedAsAsked(config, file, form, options), options, console);
}

void Unset(const ConfigOptions& options, const Console& console)
{
    EditedFile file(options.file);
    const Form form = FormOf(file.Content());
    ConfigFile config = Opened(file);
    const WString section = InFile(*options.section, form);
    const bool wasThere =
        options.key ? config.Remove(section, InFile(*options.key, form)) : config.RemoveSection(section);
    if (!wasThere)
        ThrowNotThere();
    Finish(file, Saved(config, file, form), options, console);
}

int Run(const ConfigOptions& options, const Console& console, const std::function<void()>& action)
{
    Failure failure;
    if (Attempt(failure, action))
        return AllWell;
    if (!options.quiet)
        console.err << "kivfile: " << PrintableFileName(options.file) << ": " << failure.message << '\n';
    return SomethingFailed;
}

} // namespace

int GetSetting(const ConfigOptions& options, const Console& console)
{
    return Run(options, console, [&] {
        const ConfigFile config = Read(ReadInput(options.file, console.in));
        const WString* value = config.Get(Kiv::WideFromNarrow(*options.section), Kiv::WideFromNarrow(*options.key));
        if (!value)
            ThrowNotThere();
        PrintValue("", *value, console.out);
    });
}

int ListSettings(const ConfigOptions& options, const Console& console)
{
    return Run(options, console, [&] {
        const ConfigFile config = Read(ReadInput(options.file, console.in));
        const Sections sections = Chosen(config, options.section);
        if (options.json)
            PrintJson(options.file, sections, console.out);
        else
            PrintText(sections, console.out);
    });
}

int SetSetting(const ConfigOptions& options, const Console& console)
{
    return Run(options, console, [&] { Set(options, console); });
}

int UnsetSetting(const ConfigOptions& options, const Console& console)
{
    return Run(options, console, [&] { Unset(options, console); });
}

} // namespace KivTool
