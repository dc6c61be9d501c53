// A set of strings kept in a text file.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include <KivFile/Export.h>

namespace KivFile
{

// An ordered set of narrow strings, compared byte by byte, and the name of the file it is loaded from and saved to.
//
// The file holds the strings in ascending order, each followed by CR LF, as bytes without any conversion. When it is
// read every CR and every LF ends a string and empty strings are passed over; so a string that is empty or holds a line
// end does not read back.
// A value type: copies are independent, and comparison and the set operations look at the strings only. One thread at a
// time; a Save, which may change the name, counts as a change.
class KIVFILE_EXPORT PersistentStringSet
{
public:
    // Bound to a file, from which it is loaded as Load does it, unless the name is empty: a file that cannot be read
    // gives an empty set and is no error.
    explicit PersistentStringSet(const std::string& fileName = std::string());
    PersistentStringSet(const PersistentStringSet&);
    PersistentStringSet& operator=(const PersistentStringSet&);
    ~PersistentStringSet();

    // The strings, to be read and changed directly.
    [[nodiscard]] std::set<std::string>& Set() { return m_set; }
    [[nodiscard]] const std::set<std::string>& Set() const { return m_set; }

    // Replaces the strings by those of a file. A name that is not empty becomes the set's own, which is then used, also
    // by later calls. Throws nothing for a file that is missing, locked or cannot be read, nor for a set without a
    // name: the strings stay as they were. Throws std::bad_alloc for a file that memory cannot hold, with the same
    // result.
    void Load(const std::string& fileName);
    // Replaces the strings by those of a text as a file holds it. The name stays. Throws std::bad_alloc, with the
    // strings as they were.
    void LoadText(std::string_view text);

    // Writes the strings to a file, by the same rule of the name; a longer old file is cut. An empty set writes
    // nothing at all, so that an old file keeps its strings.
    // Throws, with the old file as it was, SharingViolationException, FileAccessDeniedException or
    // FileCannotOpenException when the file, or the one without a name, cannot be opened; throws WriteErrorException,
    // with the old file overwritten in part, when it cannot be written, as when the strings do not fit in 4 GiB - 1,
    // and FileException when what is left of the old file cannot be cut off.
    void Save(const std::string& fileName) const;

    // Whether the strings are the same.
    [[nodiscard]] bool operator==(const PersistentStringSet& other) const;

    // Union and difference; the result of the two-sided forms has no file name, the others keep theirs. A set may be
    // combined with itself.
    [[nodiscard]] PersistentStringSet operator+(const PersistentStringSet& other) const;
    PersistentStringSet& operator+=(const PersistentStringSet& other);
    [[nodiscard]] PersistentStringSet operator-(const PersistentStringSet& other) const;
    PersistentStringSet& operator-=(const PersistentStringSet& other);

private:
    mutable std::string m_fileName;
    std::set<std::string> m_set;
};

} // namespace KivFile
