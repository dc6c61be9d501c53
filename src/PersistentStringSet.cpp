#include <KivFile/PersistentStringSet.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include <KivFile/CFileBuffer.h>

namespace KivFile
{

namespace
{

using File = CFileT<unsigned int>;

constexpr unsigned int STAGING = 32768;
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
    std::vector<std::string_view> pieces = Cut(text);
    if (!std::ranges::is_sorted(pieces))
        std::ranges::sort(pieces);
    m_set.clear();
    // In order each string goes to the end.
    for (const std::string_view piece : pieces)
        m_set.emplace_hint(m_set.end(), piece);
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
        count += buffer.Write(string.data(), static_cast<unsigned int>(string.size()));
        count += buffer.Write(LINE_END.data(), static_cast<unsigned int>(LINE_END.size()));
    }
    // Writes out what is staged; Flush would wait for the medium.
    buffer.SeekP(0);
    file.Resize(count, false);
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
