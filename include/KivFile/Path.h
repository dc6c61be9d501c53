// Paths of files and directories, narrow and wide.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>

#include <Kiv/DateTime.h>
#include <KivBase/BinaryStream.h>
#include <KivBase/SmartPtr.h>
#include <KivBase/WString.h>
#include <KivFile/Export.h>

namespace KivFile
{

// A path, normalised once, when it is made or assigned, into a canonical text:
//  - separators are backslashes, and none is doubled, except the two before the server of a network path and a pair
//    that begins with the separator of the root;
//  - no "." and no ".." component that can be resolved is left, and the dots are gone at the end of every component
//    but the last;
//  - there is no separator at the end, save that of a root;
//  - blanks before a drive, a network path or "file:" are gone, and so is "file:" itself; other leading blanks stay;
//  - a path to nowhere is ".".
// Any text is accepted: what makes no sense as a path is normalised by the same rules and nothing is thrown.
// Only a stream may yield an empty or otherwise uncanonical text, and every query bears one.
//
// A path also remembers what the file system said of its file when first asked (attributes, size, date), until
// ClearAttributes, a text assignment or a change of the file through the path. The queries that ask the file system
// say so; the others look at the text only.
//
// T is char (narrow text: UTF-8 on Linux, the system code page on Windows) or unsigned short (UTF-16); there is no
// other instantiation. A path may be held by Kiv::SmartPtr. One thread at a time, as even queries fill caches.
template <class T>
class PathT : public Kiv::RefCountedT<PathT<T>>
{
    static_assert(std::same_as<T, char> || std::same_as<T, unsigned short>);

public:
    using String = std::conditional_t<std::same_as<T, char>, std::string, Kiv::WString>;

    static constexpr T PATH_EXTENSION_SEPARATOR = '.';
    static constexpr T PATH_DRIVE_SEPARATOR = ':';
    static constexpr T PATH_SEPARATOR = '\\';
    static constexpr T PATH_ROOT = '\\';
    static constexpr T PATH_SPACE = ' ';
    static constexpr T PATH_SLASH = '/';
    static constexpr T PATH_CURRENT = '.';
    static const String PATH_PARENT;           // ".."
    static const String PATH_DOUBLE_SEPARATOR; // two backslashes
    static const String PATH_UNC_ROOT;         // two backslashes
    static const String PATH_FILE_SCHEME;      // "file:" and two backslashes
    static const String PATH_DEFAULT_FILTER;   // "*.*"
    static const String PATH_EMPTY_STRING;
    static const String PATH_SEPARATORS; // a backslash and a slash

    // What ChangeExtension takes for the old extension.
    enum ChangeExtensionMode : std::uint32_t {
        EXTENSION_APPEND = 0,       // nothing: the new one goes behind the whole name
        EXTENSION_REPLACE_LAST = 1, // what follows the last dot of the name
        EXTENSION_REPLACE_ALL = 2,  // what follows the first dot of the name
    };

    // The path ".".
    PathT();
    // Copy the text and normalise it. A plain text ends with a zero.
    explicit PathT(const T* text);
    explicit PathT(const String& text);

    // A text equal to the full path changes nothing and keeps the caches; any other is copied and normalised and
    // empties them.
    PathT& operator=(const T* text);
    PathT& operator=(const String& text);

    // The canonical text.
    [[nodiscard]] const String& FullPath() const;
    const String& operator*() const;

    // The text in lower case, made when first asked for and kept until the next text assignment: after
    // ChangeExtension it is still that of the earlier name.
    [[nodiscard]] const String& FullPathLowerCase() const;

    // Whether the second character is a colon.
    [[nodiscard]] bool HasDrive() const;
    // Whether the text begins with two backslashes.
    [[nodiscard]] bool IsUNC() const;
    // Whether the text begins with a backslash, or has one behind its drive: "C:" and "C:dir" are relative.
    [[nodiscard]] bool IsAbsolute() const;
    [[nodiscard]] bool IsRelative() const;

    // "C:\" for a path with a drive, the server with a backslash behind it for a network path (the share is no part of
    // it), otherwise empty.
    [[nodiscard]] String Root() const;
    // The last component; empty for a root.
    [[nodiscard]] String FileName() const;
    // What follows the last dot of FileName(); empty when there is none.
    [[nodiscard]] String FileExtension() const;
    // For an existing directory the path itself, otherwise the text before FileName(). It ends with a backslash,
    // except that it is empty for a bare name and the drive alone for a name relative to one. Asks the file system.
    [[nodiscard]] String Directory() const;

    // MakeURI of the full path.
    [[nodiscard]] String GetURI() const;
    // "file:" and the text for a network path, "file://" and the text for any other, with slashes for backslashes.
    // Nothing is escaped and a drive stands where a host belongs, so other readers, and PathT itself, need not read
    // the result as the same path.
    [[nodiscard]] static String MakeURI(const String& text);
    // Whether the last component of any text is "." or "..", whatever separators follow it.
    [[nodiscard]] static bool IsDotDirectory(const String& text);

    // Changes the extension to the one given, whose leading dots do not count, normalises the result and forgets the
    // attributes. A mode that is none of the three leaves the extension. Returns the path itself.
    // Throws std::out_of_range, with nothing changed, when the extension is empty or made of dots only.
    PathT& ChangeExtension(const String& extension, ChangeExtensionMode mode);

    // Letter case counts, and a text is compared as it is, without being normalised.
    [[nodiscard]] friend bool operator==(const PathT& a, const PathT& b) { return a.m_fullPath == b.m_fullPath; }
    [[nodiscard]] friend bool operator==(const PathT& path, const String& text) { return path.m_fullPath == text; }
    // By unsigned character value; a text that begins another one is less than it.
    [[nodiscard]] friend bool operator<(const PathT& a, const PathT& b) { return a.m_fullPath < b.m_fullPath; }
    [[nodiscard]] friend bool operator<(const PathT& path, const String& text) { return path.m_fullPath < text; }

    // These ask the file system while nothing is remembered. A file that does not exist is not remembered: it is asked
    // for again the next time.
    [[nodiscard]] bool Exists() const;
    [[nodiscard]] bool IsDirectory() const;
    [[nodiscard]] bool IsFile() const;
    // Bytes; 0 for a file that was never seen.
    [[nodiscard]] const std::uint64_t& Size() const;
    // The zero date for a file that was never seen or was last written before 1970.
    [[nodiscard]] const Kiv::DateTime& GetLastModificationDate() const;

    // Forgets the attributes, so that the next query asks the file system. The file is not touched.
    void ClearAttributes();

private:
    template <class U>
    friend Kiv::BinaryStreamT<unsigned int>& operator>>(Kiv::BinaryStreamT<unsigned int>& stream, PathT<U>& path);

    static constexpr std::int32_t NOT_READ = -1;

    void Initialize();
    std::int32_t GetAttributes() const;
    [[nodiscard]] bool HasAttribute(std::uint32_t attribute) const;
    void RefreshInfo() const;

    String m_fullPath;
    mutable String m_fullPathLowerCase;
    mutable std::int32_t m_attributes = NOT_READ;
    mutable Kiv::DateTime m_lastModificationDate;
    mutable std::uint64_t m_size = 0;
};

// Orders paths for sorting and for associative containers: as operator< does, or by FullPathLowerCase().
template <class T>
class PathComparatorT
{
public:
    explicit PathComparatorT(bool caseSensitive) : m_caseSensitive(caseSensitive) {}

    [[nodiscard]] bool operator()(const PathT<T>& a, const PathT<T>& b) const
    {
        return m_caseSensitive ? a < b : a.FullPathLowerCase() < b.FullPathLowerCase();
    }

private:
    bool m_caseSensitive;
};

// Write the path: the number of its characters in 16 bits, or 0xFFFF and the number in 32 bits when it is 65535 or
// more, then the characters. Throws Kiv::BinaryStreamPutEOFException when the buffer cannot take all of it.
template <class T>
Kiv::BinaryStreamT<unsigned int>& operator<<(Kiv::BinaryStreamT<unsigned int>& stream, const PathT<T>& path);

// Read a path. The text is taken as it is, without being normalised, and the path's caches stay. Throws
// Kiv::BinaryStreamGetEOFException when the stream ends early; the path then has the characters that were read.
template <class T>
Kiv::BinaryStreamT<unsigned int>& operator>>(Kiv::BinaryStreamT<unsigned int>& stream, PathT<T>& path);

// Members that are defined in the class would not be exported by every compiler: there are none, only friends.
extern template class KIVFILE_EXPORT PathT<char>;
extern template class KIVFILE_EXPORT PathT<unsigned short>;
extern template KIVFILE_EXPORT Kiv::BinaryStreamT<unsigned int>& operator<<(Kiv::BinaryStreamT<unsigned int>&,
                                                                            const PathT<char>&);
extern template KIVFILE_EXPORT Kiv::BinaryStreamT<unsigned int>& operator<<(Kiv::BinaryStreamT<unsigned int>&,
                                                                            const PathT<unsigned short>&);
extern template KIVFILE_EXPORT Kiv::BinaryStreamT<unsigned int>& operator>>(Kiv::BinaryStreamT<unsigned int>&,
                                                                            PathT<char>&);
extern template KIVFILE_EXPORT Kiv::BinaryStreamT<unsigned int>& operator>>(Kiv::BinaryStreamT<unsigned int>&,
                                                                            PathT<unsigned short>&);

} // namespace KivFile
