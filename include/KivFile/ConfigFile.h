// Settings kept in a text file.
#pragma once

#include <string>

#include <Kiv/Config.h>
#include <KivBase/BinaryStreamBuf.h>
#include <KivCharset/Charset.h>
#include <KivFile/Export.h>

namespace KivFile
{

// A configuration bound to a text file, which a save edits in place: comments, the order of sections and keys, and the
// spelling of key lines stay.
//
// A line is a header "[section]", a line "key = value" within a section, a comment that begins with a semicolon, or
// blank; anything else, and a second header of a section, makes the file invalid. Keys consist of ASCII letters,
// digits, underscores and points. Blanks (the space, the tab and the space separators of Unicode) around a line, a key
// and a value do not count. A key that is repeated has a value of several lines, joined by line feeds. LF, CR and CR LF
// end a line; a file is written with the platform's line ends, without its empty lines, and with one in front of each
// header. A line of some ten thousand words may be too complex to be read, and is then invalid.
//
// A file is narrow text: UTF-8 on Linux, whatever the locale, where bytes that are no text stay what they are; the
// system code page on Windows. A byte-order mark is not recognised in a file.
//
// A save opens the file for writing only when all that it will write is encoded, and then writes it in place. When the
// disk is full or the system fails in the middle, the file is left with the beginning of the new text; the
// configuration in memory is whole and can be saved elsewhere.
//
// The exceptions named below are Kiv::Config's; CannotOpenSourceException and ConfigException carry the file name and
// the system's words. One thread at a time.
class KIVFILE_EXPORT ConfigFile : public Kiv::Config
{
public:
    // An empty configuration that belongs to no file.
    ConfigFile();

    // Reads a file; one that does not exist is created empty. defaults, which may be null, are copied; the stored copy
    // is what was read.
    // Throws CannotOpenSourceException when the file can be neither read nor created, and InvalidConfigException when
    // it holds no configuration; the file is then as it was.
    ConfigFile(const std::string& fileName, const Kiv::SmartPtrToConst<Kiv::Config>& defaults);

    // Reads the whole buffer, from its beginning, as text in a character set; unread put-back is dropped. The
    // configuration belongs to no file and has no stored copy.
    // Throws InvalidConfigException when the text is no configuration and, with the buffer untouched, when the
    // character set is not implemented; and what the buffer throws.
    ConfigFile(Kiv::BinaryStreamBufT<unsigned int>& buffer, const Kiv::CHARSET& charset);

    // A copy that belongs to no file; a save of it needs a name.
    explicit ConfigFile(const Kiv::Config& config);

    ConfigFile(const ConfigFile& other);
    ConfigFile& operator=(const ConfigFile& other);
    ~ConfigFile() override;

    // Writes the data into a file, the own one when fileName is empty. Values that equal their defaults are left out,
    // and so removed from the file. Keys and sections that only the file holds stay, unless noMerge is set; a key
    // removed from the data is therefore removed from the file by a save with noMerge only. New keys go behind those of
    // their section, new sections to the end, in order. The object keeps its own file; after a save to that one the
    // stored copy is the data.
    // Names and values are written as they are: those that the grammar cannot hold do not read back as they were.
    // Throws, with the file untouched, InvalidConfigException when the file to be merged with is invalid, when it has a
    // line that is too complex and when the text cannot be encoded, and CannotOpenSourceException when the file cannot
    // be read or opened for writing, which includes an object without a file that is given no name. Throws
    // ConfigException when writing fails, with the file as described above. The object is unchanged each time.
    void Save(const std::string& fileName, bool noMerge) override;

private:
    std::string m_fileName;
};

} // namespace KivFile
