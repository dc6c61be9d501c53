#include <KivFile/ConfigFile.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string_view>

#include <KivCharset/Conv.h>
#include <KivFile/Path.h>

#include "ConfigLine.h"
#include "ConfigText.h"

namespace KivFile
{

namespace
{

using Kiv::WString;
using Kiv::WStringView;
using Section = Kiv::Config::Section;
using Table = Kiv::Config::Table;
using Kind = ConfigLine::Kind;

constexpr auto IsLineFeed = [](unsigned short unit) { return unit == '\n'; };
constexpr auto IsLineEnd = [](unsigned short unit) { return unit == '\n' || unit == '\r'; };

// Calls use(piece) for each piece between separators; an empty last piece is none.
template <class IsSeparator, class Use>
void Split(WStringView text, IsSeparator isSeparator, Use use)
{
    auto first = text.begin();
    while (first != text.end()) {
        const auto last = std::find_if(first, text.end(), isSeparator);
        use(WStringView(first, last));
        first = last == text.end() ? last : last + 1;
    }
}

// Stands at one line after the other of those that are not empty. What a line is takes many times the memory of a short
// one, so lines are read again rather than kept; a copy reads on by itself.
class LineReader
{
public:
    explicit LineReader(WStringView text) : m_rest(text) { Next(); }

    [[nodiscard]] bool IsAtEnd() const { return m_isAtEnd; }
    [[nodiscard]] bool IsInSection() const { return !m_isAtEnd && m_line.kind != Kind::Section; }
    [[nodiscard]] const ConfigLine& Line() const { return m_line; }

    void Next()
    {
        const auto first = std::find_if_not(m_rest.begin(), m_rest.end(), IsLineEnd);
        const auto last = std::find_if(first, m_rest.end(), IsLineEnd);
        m_isAtEnd = first == last;
        m_line = ReadConfigLine(WStringView(first, last));
        m_rest = WStringView(last, m_rest.end());
    }

private:
    WStringView m_rest;
    ConfigLine m_line;
    bool m_isAtEnd = false;
};

// Where a name is in a map, or would be. Most files are in order, and then the end is looked at alone.
template <class Map>
auto LowerBound(Map& map, WStringView name)
{
    const bool isBehindAll = map.empty() || map.key_comp()(map.rbegin()->first, name);
    return isBehindAll ? map.end() : map.lower_bound(name);
}

template <class Map>
bool IsAt(const Map& map, typename Map::const_iterator place, WStringView name)
{
    return place != map.end() && !map.key_comp()(name, place->first);
}

// ---- Reading ------------------------------------------------------------------------------------------------

Section::Keys& AddSection(Table& data, WStringView name)
{
    const auto place = LowerBound(data, name);
    if (IsAt(data, place, name))
        ThrowInvalidConfig();
    return data.try_emplace(place, WString(name))->second.Edit();
}

void AddValue(Section::Keys& section, const ConfigLine& line)
{
    const auto place = LowerBound(section, line.name);
    if (IsAt(section, place, line.name))
        place->second.value.append(1, '\n').append(line.value);
    else
        section.try_emplace(place, WString(line.name), Kiv::Config::Entry{WString(line.value), false});
}

void Parse(WStringView text, Table& data)
{
    data.clear();
    Section::Keys* current = nullptr;
    for (LineReader lines(text); !lines.IsAtEnd(); lines.Next()) {
        const ConfigLine& line = lines.Line();
        if (line.kind == Kind::Section)
            current = &AddSection(data, line.name);
        else if (line.kind == Kind::Key && current)
            AddValue(*current, line);
        else if (line.kind != Kind::Comment)
            ThrowInvalidConfig();
    }
}

// ---- Writing ------------------------------------------------------------------------------------------------

// What a save keeps of the text that the file holds.
enum class Keep {
    Everything, // also the values of keys and sections that the configuration lacks
    OwnOnly,
};

// Fills its second argument with the defaults of a section.
using FindDefaults = std::function<void(WStringView, Section&)>;

// Makes the text of a file from its old one and a configuration, whose names and values are looked at where they are.
class Rewriter
{
public:
    Rewriter(const Table& data, FindDefaults findDefaults, Keep keep)
        : m_data(data), m_findDefaults(std::move(findDefaults)), m_keep(keep)
    {
    }

    // Throws InvalidConfigException when an old text that is kept is invalid.
    WString Rewrite(WStringView old)
    {
        m_out.reserve(old.size() + old.size() / 8);
        LineReader lines(old);
        RewriteKeys(lines, {});
        while (!lines.IsAtEnd())
            RewriteSection(lines);
        AddNewSections();
        return std::move(m_out);
    }

private:
    // What has to be written in a section, less what has been.
    using Settings = std::map<WStringView, WStringView, Kiv::WNoCase>;

    // From its header to the next one.
    void RewriteSection(LineReader& lines)
    {
        const ConfigLine header = lines.Line();
        lines.Next();
        const bool isRepeated = !m_seen.insert(header.name).second;
        if (m_keep == Keep::Everything && isRepeated)
            ThrowInvalidConfig();
        const auto own = m_data.find(header.name);
        const bool isKept = m_keep == Keep::Everything || (own != m_data.end() && !isRepeated);
        if (!isKept)
            return RewriteKeys(lines, {});

        Settings settings;
        if (m_keep == Keep::Everything)
            Gather(lines, settings);
        if (own != m_data.end())
            Overlay(own->second, settings);
        DropDefaults(header.name, settings);
        PutLine({});
        PutLine(header.text);
        RewriteKeys(lines, std::move(settings));
    }

    void AddNewSections()
    {
        for (const auto& [name, section] : m_data) {
            if (m_seen.contains(name))
                continue;
            Settings settings;
            Overlay(section, settings);
            DropDefaults(name, settings);
            PutLine({});
            Put('[').Put(name).Put(']').PutLine({});
            PutValues(settings);
        }
    }

    // The values that the old lines give.
    void Gather(LineReader lines, Settings& settings)
    {
        m_joined.clear(); // the section before this one has been written
        for (; lines.IsInSection(); lines.Next()) {
            const ConfigLine& line = lines.Line();
            if (line.kind != Kind::Key)
                continue;
            const auto place = LowerBound(settings, line.name);
            if (IsAt(settings, place, line.name))
                place->second = Join(line.name, place->second, line.value);
            else
                settings.try_emplace(place, line.name, line.value);
        }
    }

    // The value of a key grows in place, however often the key is repeated.
    WStringView Join(WStringView key, WStringView value, WStringView line)
    {
        const auto [joined, isFirst] = m_joined.try_emplace(key);
        if (isFirst)
            joined->second = value;
        return joined->second.append(1, '\n').append(line);
    }

    // Both are in order, so that one walk finds the places of all keys.
    static void Overlay(const Section& section, Settings& settings)
    {
        auto place = settings.begin();
        for (const auto& [key, entry] : section) {
            while (place != settings.end() && settings.key_comp()(place->first, key))
                ++place;
            if (IsAt(settings, place, key))
                place->second = entry.value;
            else
                settings.try_emplace(place, key, entry.value);
        }
    }

    void DropDefaults(WStringView section, Settings& settings) const
    {
        Section defaults;
        m_findDefaults(section, defaults);
        for (const auto& [key, entry] : defaults) {
            const auto setting = settings.find(key);
            if (setting != settings.end() && setting->second == entry.value)
                settings.erase(setting);
        }
    }

    // Writes the lines up to the next header with the values they have now, and behind them the values without a line.
    void RewriteKeys(LineReader& lines, Settings settings)
    {
        for (; lines.IsInSection(); lines.Next()) {
            const ConfigLine& line = lines.Line();
            if (line.kind == Kind::Comment)
                PutLine(line.text);
            else if (line.kind == Kind::Key)
                RewriteKey(line, settings);
            else if (m_keep == Keep::Everything)
                ThrowInvalidConfig();
        }
        PutValues(settings);
    }

    void RewriteKey(const ConfigLine& line, Settings& settings)
    {
        const bool isOutsideSections = m_seen.empty();
        if (m_keep == Keep::Everything && isOutsideSections)
            ThrowInvalidConfig();
        const auto setting = settings.find(line.name);
        if (setting == settings.end())
            return;
        const WStringView head = line.text.substr(0, line.text.find('='));
        bool isWritten = false;
        Split(setting->second, IsLineFeed, [&](WStringView piece) {
            if (piece.empty())
                return;
            Put(head).Put('=').Put(' ').PutLine(piece);
            isWritten = true;
        });
        if (!isWritten)
            PutValue(setting->first, {});
        settings.erase(setting);
    }

    void PutValues(const Settings& settings)
    {
        for (const auto& [key, value] : settings) {
            if (value.empty())
                PutValue(key, {});
            Split(value, IsLineEnd, [&, name = key](WStringView piece) { PutValue(name, piece); });
        }
    }

    void PutValue(WStringView key, WStringView value) { Put(key).Put(' ').Put('=').Put(' ').PutLine(value); }

    void PutLine(WStringView text) { Put(text).Put('\n'); }

    Rewriter& Put(WStringView text)
    {
        m_out += text;
        return *this;
    }

    Rewriter& Put(char unit)
    {
        m_out += static_cast<unsigned short>(unit);
        return *this;
    }

    const Table& m_data;
    const FindDefaults m_findDefaults;
    const Keep m_keep;
    std::set<WStringView, Kiv::WNoCase> m_seen;            // the names of the old headers so far
    std::map<WStringView, WString, Kiv::WNoCase> m_joined; // values of the section's repeated keys
    WString m_out;
};

// Throws InvalidConfigException for text with a line that is too complex to be read again, which only those can be that
// are not read by hand.
void RequireReadable(WStringView text)
{
    while (text.size() > LONGEST_PLAIN_LINE) {
        std::size_t end = text.rfind('\n', LONGEST_PLAIN_LINE);
        if (end == text.npos) {
            end = std::min(text.find('\n'), text.size());
            (void)ReadConfigLine(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

bool IsSamePath(const std::string& a, const std::string& b)
{
    return PathT<char>(a) == PathT<char>(b);
}

} // namespace

ConfigFile::ConfigFile() = default;

ConfigFile::ConfigFile(const std::string& fileName, const Kiv::SmartPtrToConst<Kiv::Config>& defaults)
    : m_fileName(fileName)
{
    if (const auto text = ReadConfigText(m_fileName))
        Parse(*text, EditableData());
    else
        CreateConfigFile(m_fileName);
    if (defaults)
        LoadDefault(*defaults);
    KeepAsStored();
}

ConfigFile::ConfigFile(Kiv::BinaryStreamBufT<unsigned int>& buffer, const Kiv::CHARSET& charset)
{
    if (!KivCharset::Conv::IsImplemented(charset))
        ThrowInvalidConfig();
    std::string bytes;
    buffer.DropPutBack();
    buffer.SeekG(0);
    buffer.Copy(bytes, buffer.Size());
    Parse(KivCharset::Conv::ToWide(charset, bytes), EditableData());
}

ConfigFile::ConfigFile(const Kiv::Config& config) : Config(config) {}
ConfigFile::ConfigFile(const ConfigFile&) = default;
ConfigFile& ConfigFile::operator=(const ConfigFile&) = default;
ConfigFile::~ConfigFile() = default;

void ConfigFile::Save(const std::string& fileName, bool noMerge)
{
    const std::string& target = fileName.empty() ? m_fileName : fileName;
    const auto old = ReadConfigText(target);
    const auto findDefaults = [this](WStringView section, Section& defaults) { FindDefaults(section, defaults); };
    Rewriter rewriter(Data(), findDefaults, old && !noMerge ? Keep::Everything : Keep::OwnOnly);
    const WString text = rewriter.Rewrite(old ? WStringView(*old) : WStringView());
    RequireReadable(text);
    WriteConfigText(target, text);
    if (IsSamePath(target, m_fileName))
        KeepAsStored();
}

} // namespace KivFile
