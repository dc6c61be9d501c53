#include <KivFile/PersistentStringSet.h>

#include <algorithm>
#include <limits>
#include <vector>

#include <KivFile/CFileBuffer.h>

namespace KivFile
{

namespace
{

using File = CFileT<unsigned int>;

constexpr unsigned int STAGING = 32768;
constexpr std::size_t LONGEST_FILE = std::numeric_limits<unsigned int>::max();
constexpr std::string_view LINE_END = "\r\n";

// The pieces between line ends that are not empty.
std::vector<std::string_view> Cut(std::string_view text)
{
    std::vector<std::string_view> pieces;
    const auto isLineEnd = [](char c) { return c == '\n' || c == '\r'; };
    for (auto first = text.begin(); first != text.end();) {
        const auto last = std::find_if(first, text.end(), isLineEnd);
        if (first != last)
            pieces.emplace_back(first, last);
        first = std::find_if_not(last, text.end(), isLineEnd);
    }
    return pieces;
}

std::string ReadAll(const std::string& fileName)
{
    File file(fileName);
    const unsigned int size = file.Open(File::OpenMode::Read);
    ICFileBufferT<unsigned int> buffer(&file, STAGING);
    buffer.SeekG(0);
    std::string text;
    buffer.Copy(text, size);
    return text;
}

} // namespace

PersistentStringSet::PersistentStringSet(const std::string& fileName)
{
    if (!fileName.empty())
        Load(fileName);
}

PersistentStringSet::PersistentStringSet(const PersistentStringSet&) = default;
PersistentStringSet& PersistentStringSet::operator=(const PersistentStringSet&) = default;
PersistentStringSet::~PersistentStringSet() = default;

void PersistentStringSet::Load(const std::string& fileName)
{
    if (!fileName.empty())
        m_fileName = fileName;
    std::string text;
    try {
        text = ReadAll(m_fileName);
    } catch (const FileException&) {
        return;
    }
    LoadText(text);
}

void PersistentStringSet::LoadText(std::string_view text)
{
    std::vector<std::string_view> pieces = Cut(text);
    if (!std::ranges::is_sorted(pieces))
        std::ranges::sort(pieces);
    std::set<std::string> strings;
    // In order each string goes to the end.
    for (const std::string_view piece : pieces)
        strings.emplace_hint(strings.end(), piece);
    m_set.swap(strings);
}

void PersistentStringSet::Save(const std::string& fileName) const
{
    if (!fileName.empty())
        m_fileName = fileName;
    if (m_set.empty())
        return;
    File file(m_fileName);
    file.Open(File::OpenMode::ReadWrite);
    OCFileBufferT<unsigned int> buffer(&file, STAGING);
    unsigned int count = 0;
    for (const std::string& string : m_set) {
        // One that is longer than a file can be fails all the same: its line end finds no room.
        const auto length = static_cast<unsigned int>(std::min(string.size(), LONGEST_FILE));
        count += buffer.Write(string.data(), length);
        count += buffer.Write(LINE_END.data(), static_cast<unsigned int>(LINE_END.size()));
    }
    // Writes out what is staged; Flush would wait for the medium.
    buffer.SeekP(0);
    file.Resize(count, true);
}

bool PersistentStringSet::operator==(const PersistentStringSet& other) const
{
    return m_set == other.m_set;
}

PersistentStringSet PersistentStringSet::operator+(const PersistentStringSet& other) const
{
    PersistentStringSet result;
    result.m_set = m_set;
    result += other;
    return result;
}

PersistentStringSet& PersistentStringSet::operator+=(const PersistentStringSet& other)
{
    if (this != &other)
        m_set.insert(other.m_set.begin(), other.m_set.end());
    return *this;
}

PersistentStringSet PersistentStringSet::operator-(const PersistentStringSet& other) const
{
    PersistentStringSet result;
    result.m_set = m_set;
    result -= other;
    return result;
}

PersistentStringSet& PersistentStringSet::operator-=(const PersistentStringSet& other)
{
    if (this == &other)
        m_set.clear();
    for (const std::string& string : other.m_set)
        m_set.erase(string);
    return *this;
}

} // namespace KivFile
