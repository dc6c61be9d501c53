// The text rules of paths, for both widths.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <KivBase/NoCase.h>
#include <KivFile/Path.h>

namespace KivFile::PathText
{

template <class T>
using View = std::basic_string_view<T, typename PathT<T>::String::traits_type>;

constexpr char SEPARATOR = '\\';
constexpr char SLASH = '/';
constexpr char DRIVE_SEPARATOR = ':';
constexpr char DOT = '.';

// Beside PathT's constants of the same meaning, because these are there before any code runs, in whatever order the
// library's own statics are built.
template <class T>
inline constexpr T SEPARATORS[] = {SEPARATOR, SLASH, 0};
inline constexpr std::string_view FILE_SCHEME = "file:\\\\";
constexpr std::size_t FILE_SCHEME_NAME = 5; // "file:"

template <class T>
bool HasDrive(View<T> text)
{
    return text.size() >= 2 && text[1] == DRIVE_SEPARATOR;
}

template <class T>
bool IsUNC(View<T> text)
{
    return text.size() >= 2 && text[0] == SEPARATOR && text[1] == SEPARATOR;
}

// Where the last component begins: behind the last separator or the drive.
template <class T>
std::size_t FileNameStart(View<T> text)
{
    const std::size_t behindSeparator = text.find_last_of(SEPARATORS<T>) + 1;
    return std::max<std::size_t>(behindSeparator, HasDrive<T>(text) ? 2 : 0);
}

// The characters of a root, which no ".." climbs over: "C:", "C:\", "\", "\\server\" or none.
template <class T>
std::size_t RootLength(View<T> text)
{
    if (HasDrive<T>(text))
        return text.size() > 2 && text[2] == SEPARATOR ? 3 : 2;
    if (IsUNC<T>(text))
        return std::min(text.find(SEPARATOR, 2), text.size() - 1) + 1;
    return !text.empty() && text[0] == SEPARATOR ? 1 : 0;
}

template <class T>
bool BeginsWithFileScheme(View<T> text)
{
    return text.size() >= FILE_SCHEME.size() &&
           std::equal(FILE_SCHEME.begin(), FILE_SCHEME.end(), text.begin(),
                      [](char expected, T unit) { return static_cast<T>(expected) == Kiv::ToLower(unit); });
}

// How many characters before the path are no part of it: blanks, where a drive, a network path or a file URL follows,
// and the URL's scheme. A relative name may begin with blanks.
template <class T>
std::size_t LengthBeforePath(View<T> text)
{
    const std::size_t blanks = text.find_first_not_of(T{' '});
    if (blanks == View<T>::npos)
        return 0;
    text.remove_prefix(blanks);
    if (IsUNC<T>(text) || HasDrive<T>(text))
        return blanks;
    if (!BeginsWithFileScheme<T>(text))
        return 0;
    const std::size_t scheme = FILE_SCHEME.size();
    return blanks + (text.size() > scheme && text[scheme] == SEPARATOR ? scheme + 1 : FILE_SCHEME_NAME);
}

// Rewrites a path in place, component by component: what is written never reaches what is still to be read.
template <class T>
class Canonicalizer
{
public:
    // Writes the canonical form of source, the end of the text that begins at destination, to destination.
    Canonicalizer(View<T> source, T* destination)
        : m_source(source), m_destination(destination), m_rootLength(RootLength<T>(source))
    {
    }

    // Returns the length of the canonical form, which may be 0.
    std::size_t Run()
    {
        Append(m_source.substr(0, m_rootLength));
        m_read = m_rootLength;
        while (m_read < m_source.size())
            Take(NextComponent());
        if (m_written > std::min<std::size_t>(m_rootLength, 3) && EndsWithSeparator())
            --m_written;
        return m_written;
    }

private:
    struct Component {
        View<T> name;
        bool isLast; // no separator follows
    };

    // Passes over the component and all separators behind it.
    Component NextComponent()
    {
        const View<T> rest = m_source.substr(m_read);
        const View<T> name = rest.substr(0, rest.find(SEPARATOR));
        m_read += name.size();
        while (m_read < m_source.size() && m_source[m_read] == SEPARATOR)
            ++m_read;
        return {name, name.size() == rest.size()};
    }

    void Take(const Component& component)
    {
        if (component.name.find_first_not_of(DOT) != View<T>::npos || component.name.empty())
            Enter(component);
        else if (component.name.size() == 2)
            Climb(component);
        else if (component.name.size() > 2)
            EnterDots(component);
    }

    // A name; an empty one stands behind the doubled separator of a root.
    void Enter(Component component)
    {
        if (!component.isLast)
            component.name = component.name.substr(0, component.name.find_last_not_of(DOT) + 1);
        Append(component);
        ++m_depth;
    }

    // Three or more dots: a name at the start and at the end of a text, otherwise nothing. Behind a drive without root
    // they leave their separator.
    void EnterDots(const Component& component)
    {
        if (component.isLast || m_written == 0) {
            Append(component);
            ++m_depth;
        } else if (!EndsWithSeparator()) {
            Append(Component{{}, false});
            ++m_depth;
        }
    }

    // "..": takes back the component before it. Above a root there is nothing, above a relative start there may be.
    void Climb(const Component& component)
    {
        if (m_depth > 0) {
            --m_depth;
            const std::size_t separator = View<T>(m_destination, m_written - 1).rfind(SEPARATOR);
            m_written = std::max(separator + 1, m_rootLength);
        } else if (!IsAbsolute()) {
            Append(component);
        }
    }

    // Of the roots only "C:" and none at all are relative.
    bool IsAbsolute() const { return m_rootLength == 1 || m_rootLength > 2; }

    bool EndsWithSeparator() const { return m_destination[m_written - 1] == SEPARATOR; }

    void Append(const Component& component)
    {
        Append(component.name);
        if (!component.isLast)
            m_destination[m_written++] = SEPARATOR;
    }

    void Append(View<T> text)
    {
        T* const end = m_destination + m_written;
        if (end != text.data())
            View<T>::traits_type::move(end, text.data(), text.size());
        m_written += text.size();
    }

    View<T> m_source;
    T* m_destination;
    std::size_t m_rootLength;
    std::size_t m_read = 0;
    std::size_t m_written = 0;
    std::size_t m_depth = 0; // components written that a ".." takes back
};

// Whether no separator behind the root follows another one or a dot. The loop runs to the end so that it is done many
// characters at once.
template <class T>
bool HasPlainSeparators(View<T> text)
{
    T found = 0;
    for (std::size_t i = RootLength<T>(text) + 1; i < text.size(); ++i) {
        const T unit = text[i], previous = text[i - 1];
        found |= static_cast<T>(unit == SEPARATOR && (previous == SEPARATOR || previous == DOT));
    }
    return found == 0;
}

// Whether a text is canonical already and can be seen to be so: its separators are plain and none stands at its end,
// nor does a dot. Most paths are, and are made in less than half the time that the walk would take.
template <class T>
bool IsPlain(View<T> text)
{
    return !text.empty() && !text.ends_with(DOT) && !text.ends_with(SEPARATOR) && HasPlainSeparators<T>(text);
}

// The same of the text of a directory, which ends in a separator, before a plain name.
template <class T>
bool IsPlainDirectory(View<T> directory)
{
    return directory.find(T{SLASH}) == View<T>::npos && LengthBeforePath<T>(directory) == 0 &&
           HasPlainSeparators<T>(directory);
}

// Whether a name behind the text of a directory, which ends in a separator, is as canonical as any other one is there:
// it cannot be a component of dots nor become part of a drive. Most names of entries are so.
template <class T>
bool IsPlainName(View<T> name)
{
    const auto isOther = [](T unit) { return unit == SEPARATOR || unit == SLASH || unit == DRIVE_SEPARATOR; };
    return !name.empty() && name.back() != DOT && std::none_of(name.begin(), name.end(), isOther);
}

// Makes a text canonical, as PathT describes it.
template <class String>
void Normalize(String& text)
{
    using T = typename String::value_type;
    // Stores every character, which is done many at once; std::replace is not (a tenth of the whole).
    std::transform(text.begin(), text.end(), text.begin(), [](T unit) { return unit == SLASH ? T{SEPARATOR} : unit; });
    const std::size_t before = LengthBeforePath<T>(text);
    if (before == 0 && IsPlain<T>(text))
        return;
    const View<T> path = View<T>(text).substr(before);
    text.resize(Canonicalizer<T>(path, text.data()).Run());
    if (text.empty())
        text = T{DOT};
}

} // namespace KivFile::PathText
