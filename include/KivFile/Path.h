// Paths of files and directories, narrow and wide.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

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

    // Attributes that SetAttribute changes, as bits of the platform. What the file system cannot store stays as it is.
    enum FileAttributes : std::uint32_t {
        ATTRIBUTE_READ_ONLY = 0x1,
        ATTRIBUTE_HIDDEN = 0x2,
        ATTRIBUTE_SYSTEM = 0x4,
        ATTRIBUTE_DIRECTORY = 0x10,
        ATTRIBUTE_ARCHIVE = 0x20,
        ATTRIBUTE_TEMPORARY = 0x100,
        ATTRIBUTE_OFFLINE = 0x1000,
        ATTRIBUTE_NOT_INDEXED = 0x2000,
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
    // for again the next time, and is false to each of them.
    [[nodiscard]] bool Exists() const;
    [[nodiscard]] bool IsDirectory() const;
    [[nodiscard]] bool IsFile() const;
    [[nodiscard]] bool IsReadOnly() const;
    [[nodiscard]] bool IsHidden() const;
    [[nodiscard]] bool IsNotIndexed() const;
    // Whether the content is at hand: the file is not offline.
    [[nodiscard]] bool IsReadable() const;
    // Whether the file is neither offline nor read-only.
    [[nodiscard]] bool IsWritable() const;
    // Bytes; 0 for a file that was never seen.
    [[nodiscard]] const std::uint64_t& Size() const;
    // The zero date for a file that was never seen or was last written before 1970.
    [[nodiscard]] const Kiv::DateTime& GetLastModificationDate() const;

    // Forgets the attributes, so that the next query asks the file system. The file is not touched.
    void ClearAttributes();

    // Sets or clears the attribute's bits beside those that the file has now, and forgets the attributes.
    // Throws FileCannotSetAttributes.
    void SetAttribute(FileAttributes attribute, bool on);

    // Makes the directory and all that is missing above it; one that exists is no error.
    // Throws FileCannotCreateException naming the path, or, where a file is in the way, the part of the path that ends
    // with that file and a backslash.
    void CreateDir();

    // Makes a new empty file, and the directory for it when it is missing. Throws FileCannotCreateException, also when
    // the file exists. The name is the same for both widths.
    void CreateFileW();

    // Deletes a file or an empty directory; with force, a file's read-only and hidden attributes are taken away first.
    // What does not exist, is offline or is (still) read-only stays, and that is no error.
    // A link is removed itself, and what it leads to is never changed.
    // Throws FileCannotDeleteException and FileCannotSetAttributes.
    void Delete(bool force);

    // Deletes the path with all that is below it, by the rules of Delete, children first and in the order of the list.
    // A link (a reparse point) is never entered: it is removed, and what it leads to stays.
    // Throws as Delete does, CannotListAllFilesException too; what was deleted before stays deleted. A directory that
    // is not empty in the end, as when something read-only stayed in it, cannot be deleted.
    void RecursiveDelete(bool force);

    // Copies the file with its dates and attributes. Mind the flags: the member's one allows to replace a target, the
    // static one's forbids it. Throw FileCannotCopyException; no partial target is left.
    void Copy(const String& to, bool overwrite) const;
    static void Copy(const String& from, const String& to, bool failIfExists);

    // Give the file or directory another name; an existing target is never replaced. Rename stays within a volume, Move
    // takes files to another one. The members take the new text afterwards, with nothing remembered.
    // Throw FileCannotMoveException.
    void Move(const String& to);
    static void Move(const String& from, const String& to);
    void Rename(const String& to);
    static void Rename(const String& from, const String& to);

    // Append the entries of this directory that match filter ("*" and "?" are wildcards, "*.*" is everything) to out,
    // in the order of the file system and without "." and "..". Nothing is appended, and nothing thrown, where the path
    // is no directory or the search cannot start.
    // Entries remember the attributes, the size modulo 2^32 and the date that the search found, so that asking them
    // costs nothing; attributes that the mode of a POSIX file does not hold (hidden, offline, not indexed) are read
    // when first asked for. But entries that the first two append to a narrow list have the zero date, and the
    // directory remembers the date of the last one as its own. stop is read after every entry; when it is true the list
    // ends there. Throw CannotListAllFilesException, with the entries found so far in out, when the search breaks off.
    void GetFileList(std::vector<PathT>& out, const String& filter) const;
    void GetFileListInterruptable(std::vector<PathT>& out, const bool& stop, const String& filter) const;
    void GetFileListSP(std::vector<Kiv::SmartPtr<PathT>>& out, const String& filter) const;

    // The bytes that the calling user has left where the path lies; 0 when the system does not tell.
    [[nodiscard]] std::uint64_t GetAvailableDiskSpace() const;

    // The process's current directory for '.', the current directory of a drive for its letter. Throws
    // InvalidPathException for a drive that does not exist and for what is no letter.
    [[nodiscard]] static PathT GetCurrentPath(const T& drive);

    // Whether the path lies on this computer: its drive, or the current one, is not a remote one; a network path names
    // this computer's name.
    [[nodiscard]] bool IsLocal() const;

    // The server of a network path, or of the connection that the path lies on; the name of this computer for all
    // others. Throws DriveDoesNotExistException for a drive that is not there and CannotRetrieveServerException when
    // this computer has no name.
    [[nodiscard]] String GetServer() const;

    // Stores the network form (\\server\share\...) of a path on a network connection in result; of its root alone
    // where the system knows no more. The result is unchanged for any other path. Mind the sense: true says that the
    // path lies on no connection at present, false that the result was stored or that the question failed.
    bool GetFullPathAsUNC(String& result) const;

    // Gives every component the letter case that the file system has stored, the drive upper and the server lower case.
    // A path that is not found to its end, or is relative, stays as it is.
    void RetrieveCasing();

private:
    template <class U>
    friend Kiv::BinaryStreamT<unsigned int>& operator>>(Kiv::BinaryStreamT<unsigned int>& stream, PathT<U>& path);

    friend class DirectoryWalker;

    static constexpr std::int32_t NOT_READ = -1;

    void Initialize();
    std::int32_t GetAttributes() const;
    [[nodiscard]] bool HasAttribute(std::uint32_t attribute) const;
    [[nodiscard]] bool IsLink() const;
    void RefreshInfo() const;
    void CompleteAttributes() const;

    void CreateMissingAncestors() const;
    void DeleteOne(bool force, bool isFresh);
    template <class Visit>
    void ForEachEntry(const bool& stop, const String& filter, std::uint32_t findFlags, Visit visit) const;
    void List(std::vector<PathT>& out, std::size_t& size, const bool& stop, const String& filter,
              std::uint32_t findFlags) const;
    template <class Text, class Record>
    void TakeEntry(const Text& text, const Record& record);

    [[nodiscard]] static String ComputerName();
    [[nodiscard]] std::uint32_t AskUniversalName(String& name) const;
    [[nodiscard]] String StoredCasing() const;

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
