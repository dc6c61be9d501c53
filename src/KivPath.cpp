#include <KivFile/Path.h>

#include <limits>

#include "PathText.h"

namespace KivFile
{

namespace
{

using PathText::SEPARATORS;
using PathText::View;
using Stream = Kiv::BinaryStreamT<unsigned int>;

// A stream's length is not believed: text is read in pieces of this many characters.
constexpr std::size_t READ_PIECE = 65536;

// In a stream's 16-bit length: a 32-bit one follows.
constexpr std::uint16_t LONG_LENGTH = 0xFFFF;

template <class T>
typename PathT<T>::String FromAscii(std::string_view text)
{
    return {text.begin(), text.end()};
}

// How much of a text stays before a new extension and its dot.
template <class T>
std::size_t LengthBeforeExtension(View<T> text, typename PathT<T>::ChangeExtensionMode mode)
{
    const View<T> name = text.substr(text.rfind(PathText::SEPARATOR) + 1);
    std::size_t dot = name.size();
    if (mode == PathT<T>::EXTENSION_REPLACE_LAST)
        dot = name.rfind(PathText::DOT);
    else if (mode == PathT<T>::EXTENSION_REPLACE_ALL)
        dot = name.find(PathText::DOT);
    else if (name.ends_with(PathText::DOT))
        dot = name.size() - 1;
    return text.size() - name.size() + std::min(dot, name.size());
}

template <class String>
void ReadText(Stream& stream, std::size_t length, String& text)
{
    constexpr std::size_t unit = sizeof(typename String::value_type);
    text.clear();
    while (text.size() < length) {
        const std::size_t before = text.size();
        const std::size_t wanted = std::min(length - before, READ_PIECE);
        text.resize(before + wanted);
        const std::size_t got = stream.Buffer().Get(text.data() + before, static_cast<unsigned int>(wanted * unit));
        text.resize(before + got / unit);
        if (got < wanted * unit)
            throw Kiv::BinaryStreamGetEOFException();
    }
}

} // namespace

template <class T>
const typename PathT<T>::String PathT<T>::PATH_PARENT = FromAscii<T>("..");
template <class T>
const typename PathT<T>::String PathT<T>::PATH_DOUBLE_SEPARATOR = FromAscii<T>("\\\\");
template <class T>
const typename PathT<T>::String PathT<T>::PATH_UNC_ROOT = FromAscii<T>("\\\\");
template <class T>
const typename PathT<T>::String PathT<T>::PATH_FILE_SCHEME = FromAscii<T>(PathText::FILE_SCHEME);
template <class T>
const typename PathT<T>::String PathT<T>::PATH_DEFAULT_FILTER = FromAscii<T>("*.*");
template <class T>
const typename PathT<T>::String PathT<T>::PATH_EMPTY_STRING;
template <class T>
const typename PathT<T>::String PathT<T>::PATH_SEPARATORS = SEPARATORS<T>;

template <class T>
PathT<T>::PathT() : m_fullPath(1, PATH_CURRENT)
{
}

template <class T>
PathT<T>::PathT(const T* text) : m_fullPath(text)
{
    Initialize();
}

template <class T>
PathT<T>::PathT(const String& text) : m_fullPath(text)
{
    Initialize();
}

template <class T>
PathT<T>& PathT<T>::operator=(const T* text)
{
    return m_fullPath == text ? *this : *this = String(text);
}

template <class T>
PathT<T>& PathT<T>::operator=(const String& text)
{
    if (m_fullPath == text)
        return *this;
    m_fullPath = text;
    m_fullPathLowerCase.clear();
    Initialize();
    return *this;
}

template <class T>
const typename PathT<T>::String& PathT<T>::FullPath() const
{
    return m_fullPath;
}

template <class T>
const typename PathT<T>::String& PathT<T>::operator*() const
{
    return m_fullPath;
}

template <class T>
const typename PathT<T>::String& PathT<T>::FullPathLowerCase() const
{
    if (m_fullPathLowerCase.empty())
        m_fullPathLowerCase = Kiv::ToLower(View<T>(m_fullPath));
    return m_fullPathLowerCase;
}

template <class T>
bool PathT<T>::HasDrive() const
{
    return PathText::HasDrive<T>(m_fullPath);
}

template <class T>
bool PathT<T>::IsUNC() const
{
    return PathText::IsUNC<T>(m_fullPath);
}

template <class T>
bool PathT<T>::IsAbsolute() const
{
    return m_fullPath.size() > 2 && HasDrive() ? m_fullPath[2] == PATH_SEPARATOR
                                               : m_fullPath.starts_with(PATH_SEPARATOR);
}

template <class T>
bool PathT<T>::IsRelative() const
{
    return !IsAbsolute();
}

template <class T>
typename PathT<T>::String PathT<T>::Root() const
{
    if (HasDrive())
        return m_fullPath.substr(0, 2) + PATH_SEPARATOR;
    if (IsUNC())
        return m_fullPath.substr(0, m_fullPath.find(PATH_SEPARATOR, 2)) + PATH_SEPARATOR;
    return String();
}

template <class T>
typename PathT<T>::String PathT<T>::FileName() const
{
    return m_fullPath.substr(PathText::FileNameStart<T>(m_fullPath));
}

template <class T>
typename PathT<T>::String PathT<T>::FileExtension() const
{
    const String name = FileName();
    const std::size_t dot = name.rfind(PATH_EXTENSION_SEPARATOR);
    return dot == String::npos ? String() : name.substr(dot + 1);
}

template <class T>
typename PathT<T>::String PathT<T>::Directory() const
{
    if (!IsDirectory())
        return m_fullPath.substr(0, PathText::FileNameStart<T>(m_fullPath));
    return m_fullPath.ends_with(PATH_SEPARATOR) ? m_fullPath : m_fullPath + PATH_SEPARATOR;
}

template <class T>
typename PathT<T>::String PathT<T>::GetURI() const
{
    return MakeURI(m_fullPath);
}

template <class T>
typename PathT<T>::String PathT<T>::MakeURI(const String& text)
{
    const std::size_t schemeLength =
        PathText::IsUNC<T>(text) ? PathText::FILE_SCHEME_NAME : PathText::FILE_SCHEME.size();
    String uri = FromAscii<T>(PathText::FILE_SCHEME.substr(0, schemeLength)) + text;
    std::replace(uri.begin(), uri.end(), PATH_SEPARATOR, PATH_SLASH);
    return uri;
}

template <class T>
bool PathT<T>::IsDotDirectory(const String& text)
{
    const auto path = View<T>(text).substr(0, text.find_last_not_of(SEPARATORS<T>) + 1);
    const std::size_t dotsStart = path.find_last_not_of(PATH_CURRENT) + 1;
    const std::size_t dots = path.size() - dotsStart;
    if (dots != 1 && dots != 2)
        return false;
    return dotsStart == 0 || path[dotsStart - 1] == PATH_DRIVE_SEPARATOR ||
           View<T>(SEPARATORS<T>).find(path[dotsStart - 1]) != View<T>::npos;
}

template <class T>
PathT<T>& PathT<T>::ChangeExtension(const String& extension, ChangeExtensionMode mode)
{
    // No character but dots: substr throws.
    const String added = extension.substr(extension.find_first_not_of(PATH_EXTENSION_SEPARATOR));
    if (m_fullPath == String(1, PATH_CURRENT))
        m_fullPath.clear();
    if (mode <= EXTENSION_REPLACE_ALL) {
        m_fullPath.resize(LengthBeforeExtension<T>(m_fullPath, mode));
        m_fullPath += PATH_EXTENSION_SEPARATOR;
        m_fullPath += added;
    }
    Initialize();
    return *this;
}

// Normalises a new text, of which nothing is known yet.
template <class T>
void PathT<T>::Initialize()
{
    PathText::Normalize(m_fullPath);
    ClearAttributes();
}

template <class T>
Stream& operator<<(Stream& stream, const PathT<T>& path)
{
    const std::size_t length = path.FullPath().size();
    // More than a buffer can hold.
    if (length > std::numeric_limits<unsigned int>::max() / sizeof(T))
        throw Kiv::BinaryStreamPutEOFException();
    if (length < LONG_LENGTH)
        stream << static_cast<std::uint16_t>(length);
    else
        stream << LONG_LENGTH << static_cast<std::uint32_t>(length);
    stream.Write(path.FullPath().data(), static_cast<unsigned int>(length * sizeof(T)));
    return stream;
}

template <class T>
Stream& operator>>(Stream& stream, PathT<T>& path)
{
    std::uint16_t shortLength = 0;
    stream >> shortLength;
    std::uint32_t length = shortLength;
    if (shortLength == LONG_LENGTH)
        stream >> length;
    ReadText(stream, length, path.m_fullPath);
    return stream;
}

// What is defined in this file; PathFileSystem.cpp and PathListing.cpp instantiate the rest.
template class PathT<char>;
template class PathT<unsigned short>;
template Stream& operator<<(Stream&, const PathT<char>&);
template Stream& operator<<(Stream&, const PathT<unsigned short>&);
template Stream& operator>>(Stream&, PathT<char>&);
template Stream& operator>>(Stream&, PathT<unsigned short>&);

} // namespace KivFile
