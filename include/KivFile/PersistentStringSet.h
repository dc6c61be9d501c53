// A set of strings kept in a text file.
#pragma once

#include <set>
#include <string>

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
    // Bound to a file, from which it is loaded, unless the name is empty.
    explicit PersistentStringSet(const std::string& fileName = std::string());
    PersistentStringSet(const PersistentStringSet&);
    PersistentStringSet& operator=(const PersistentStringSet&);
    ~PersistentStringSet();

    // The strings, to be read and changed directly.
    [[nodiscard]] std::set<std::string>& Set() { return m_set; }
    [[nodiscard]] const std::set<std::string>& Set() const { return m_set; }

    // Replaces the strings by those of a file. A name that is not empty becomes the set's own, which is then used.
    // A file that is missing or cannot be read changes nothing else and is no error.
    void Load(const std::string& fileName);

    // Writes the strings to a file, by the same rule of the name; a longer old file is cut. An empty set writes
    // nothing at all, so that an old file keeps its strings.
    // Throws what the file's classes throw: SharingViolationException, FileAccessDeniedException or
    // FileCannotOpenException, and WriteErrorException, which leaves the old file overwritten in part.
    void Save(const std::string& fileName) const;

    // Whether the strings are the same.
    [[nodiscard]] bool operator==(const PersistentStringSet& other) const;

    // Union and difference; the result of the two-sided forms has no file name.
    [[nodiscard]] PersistentStringSet operator+(const PersistentStringSet& other) const;
    PersistentStringSet& operator+=(const PersistentStringSet& other);
    [[nodiscard]] PersistentStringSet operator-(const PersistentStringSet& other) const;
    PersistentStringSet& operator-=(const PersistentStringSet& other);

private:
    mutable std::string m_fileName;
    std::set<std::string> m_set;
};

} // namespace KivFile
