#include <stdexcept>

#include <KivBase/BinaryStreamException.h>
#include <KivFile/MemoryBuffer.h>
#include <paths/Widths.h>
#include <platform/Folder.h>

namespace
{

template <class T>
using PathText = Widths<T>;
TYPED_TEST_SUITE(PathText, BothWidths);

TYPED_TEST(PathText, IsTakenApart)
{
    const struct {
        const char* text;
        const char* root;
        const char* fileName;
        const char* extension;
        const char* directory;
        const char* uri;
        bool isAbsolute;
    } rows[] = {
        {"Q:\\a\\b.tar.gz", "Q:\\", "b.tar.gz", "gz", "Q:\\a\\", "file://Q:/a/b.tar.gz", true},
        {"Q:", "Q:\\", "", "", "Q:", "file://Q:", false},
        {"Q:dir", "Q:\\", "dir", "", "Q:", "file://Q:dir", false},
        {"Q:\\", "Q:\\", "", "", "Q:\\", "file://Q:/", true},
        {"\\\\srv\\sh\\f.", "\\\\srv\\", "f.", "", "\\\\srv\\sh\\", "file://srv/sh/f.", true},
        {"\\\\srv", "\\\\srv\\", "srv", "", "\\\\", "file://srv", true},
        {"\\no-such-dir\\.x", "", ".x", "x", "\\no-such-dir\\", "file:///no-such-dir/.x", true},
        {"no-such-file", "", "no-such-file", "", "", "file://no-such-file", false},
    };
    for (const auto& row : rows) {
        const auto path = this->Of(row.text);
        EXPECT_EQ(this->Ascii(path.Root()), row.root) << row.text;
        EXPECT_EQ(this->Ascii(path.FileName()), row.fileName) << row.text;
        EXPECT_EQ(this->Ascii(path.FileExtension()), row.extension) << row.text;
        EXPECT_EQ(this->Ascii(path.Directory()), row.directory) << row.text;
        EXPECT_EQ(this->Ascii(path.GetURI()), row.uri) << row.text;
        EXPECT_EQ(path.IsAbsolute(), row.isAbsolute) << row.text;
        EXPECT_EQ(path.IsRelative(), !row.isAbsolute) << row.text;
    }
    EXPECT_EQ(this->Of(std::string(300, 'n') + ".txt").FileName().size(), 304u);
}

TYPED_TEST(PathText, IsADotDirectoryForOneOrTwoDotsAlone)
{
    for (const char* text : {".", "..", "x\\..", "C:.", "..\\", "x/.//\\"})
        EXPECT_TRUE(TestFixture::Path::IsDotDirectory(this->Text(text))) << text;
    for (const char* text : {"", "\\", "...", "a.", "a..", "x\\...", "..\\a"})
        EXPECT_FALSE(TestFixture::Path::IsDotDirectory(this->Text(text))) << text;
}

TYPED_TEST(PathText, ChangesItsExtension)
{
    using P = typename TestFixture::Path;
    const struct {
        const char* text;
        const char* extension;
        typename P::ChangeExtensionMode mode;
        const char* result;
    } rows[] = {
        {"a.txt", "bak", P::EXTENSION_APPEND, "a.txt.bak"},
        {"a.", "..bak", P::EXTENSION_APPEND, "a.bak"},
        {".", "bak", P::EXTENSION_APPEND, ".bak"},
        {"a.tar.gz", ".bak", P::EXTENSION_REPLACE_LAST, "a.tar.bak"},
        {"d.x\\a", "bak", P::EXTENSION_REPLACE_LAST, "d.x\\a.bak"},
        {"a.tar.gz", "bak", P::EXTENSION_REPLACE_ALL, "a.bak"},
        {"d.x\\a", "bak", P::EXTENSION_REPLACE_ALL, "d.x\\a.bak"},
        {"a.txt", "b\\..\\c/", P::EXTENSION_REPLACE_LAST, "c"},
        {"a.txt", "bak", static_cast<typename P::ChangeExtensionMode>(7), "a.txt"},
    };
    for (const auto& row : rows) {
        auto path = this->Of(row.text);
        EXPECT_EQ(&path.ChangeExtension(this->Text(row.extension), row.mode), &path);
        EXPECT_EQ(this->Ascii(*path), row.result) << row.text << " with " << row.extension;
    }
    for (const char* extension : {"", "..."}) {
        auto path = this->Of(".");
        EXPECT_THROW(path.ChangeExtension(this->Text(extension), P::EXTENSION_APPEND), std::out_of_range);
        EXPECT_EQ(this->Ascii(*path), ".") << extension;
    }
}

TYPED_TEST(PathText, KeepsItsLowerCaseThroughAChangeOfExtension)
{
    auto path = this->Of("C:\\A.TXT");
    EXPECT_EQ(this->Ascii(path.FullPathLowerCase()), "c:\\a.txt");
    path.ChangeExtension(this->Text("BAK"), TestFixture::Path::EXTENSION_REPLACE_LAST);
    EXPECT_EQ(this->Ascii(path.FullPathLowerCase()), "c:\\a.txt");
    const KivFile::PathComparatorT<TypeParam> ignoringCase(false);
    EXPECT_FALSE(ignoringCase(this->Of("c:\\a.txt"), path) || ignoringCase(path, this->Of("c:\\a.txt")));
    path = this->Text("C:/A.BAK");
    EXPECT_EQ(this->Ascii(path.FullPathLowerCase()), "c:\\a.bak");
}

TYPED_TEST(PathText, IsOrdered)
{
    const KivFile::PathComparatorT<TypeParam> exact(true), ignoringCase(false);
    const auto upper = this->Of("C:\\B"), lower = this->Of("c:\\b"), longer = this->Of("c:\\b\\a");
    EXPECT_TRUE(exact(upper, lower) && !exact(lower, upper) && lower < longer && !(longer < lower));
    EXPECT_TRUE(!ignoringCase(upper, lower) && !ignoringCase(lower, upper) && ignoringCase(upper, longer));
    EXPECT_TRUE(lower == this->Text("c:\\b") && lower != this->Text("c:\\b\\") && lower < this->Text("c:\\b\\"));
    const TypeParam high[] = {static_cast<TypeParam>(0xFF), 0};
    EXPECT_TRUE(lower < typename TestFixture::Path(high)) << "characters are unsigned";
}

TEST(WidePath, ComparesTheFileSchemeByUnicodeLowerCase)
{
    using Kiv::operator""_w;
    EXPECT_EQ(*KivFile::PathT<unsigned short>(u"f\u0130le:///C:/x"_w), u"C:\\x"_w);
}

TYPED_TEST(PathText, IsStoredInAStreamAsItIs)
{
    for (const std::size_t length : {1u, 9u, 65534u, 65535u, 70000u}) {
        KivFile::MemoryBuffer buffer;
        Kiv::BinaryStreamT<unsigned int> stream(buffer);
        const auto path = this->Of(std::string(length, 'x'));
        stream << path;
        EXPECT_EQ(buffer.Size(), (length < 65535 ? 2 : 6) + length * sizeof(TypeParam));
        auto read = this->Of("old");
        stream >> read;
        EXPECT_TRUE(read == path) << length;
    }
}

TYPED_TEST(PathText, BearsWhatAStreamYields)
{
    const struct {
        std::vector<unsigned char> bytes;
        const char* path; // after the end of the stream was met, where one is
        bool endsEarly;
    } rows[] = {
        {{0, 0}, "", false},
        {{1}, "old", true},
        {{0xFF, 0xFF, 1}, "old", true},
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'a', 0}, sizeof(TypeParam) == 1 ? "a\0" : "a", true},
        {{4, 0, 'b', 0, 'c'}, "b", true},
    };
    for (const auto& row : rows) {
        KivFile::MemoryBuffer buffer(row.bytes.data(), static_cast<unsigned int>(row.bytes.size()));
        Kiv::BinaryStreamT<unsigned int> stream(buffer);
        auto path = this->Of("old");
        if (row.endsEarly)
            EXPECT_THROW(stream >> path, Kiv::BinaryStreamGetEOFException);
        else
            EXPECT_NO_THROW(stream >> path);
        EXPECT_EQ(this->Ascii(*path).substr(0, path.FullPath().find(TypeParam{})), row.path);
        EXPECT_LT(path.FullPath().capacity(), 200000u) << "a length is not believed";
        EXPECT_TRUE(path.Root().empty() && path.FileExtension().empty() && path.IsRelative());
        EXPECT_EQ(this->Ascii(path.FullPathLowerCase()), this->Ascii(*path));
        EXPECT_EQ(path.GetURI().size(), 7 + path.FullPath().size());
    }
}

TYPED_TEST(PathText, OfAFileIsAskedForUntilItIsThereAndThenRemembered)
{
    const Folder folder;
    const std::string file = folder / "f.txt";
    auto path = this->Of(file);
    EXPECT_FALSE(path.Exists() || path.IsFile() || path.IsDirectory() || path.IsReadOnly() || path.IsHidden() ||
                 path.IsNotIndexed() || path.IsReadable() || path.IsWritable() || path.Size() != 0);
    EXPECT_EQ(path.GetLastModificationDate(), Kiv::DateTime());

    WriteText(file, "12345");
    EXPECT_TRUE(path.IsFile() && path.IsReadable() && path.IsWritable() && !path.IsDirectory() && path.Size() == 5);
    EXPECT_GT(path.GetLastModificationDate().Seconds(), 1500000000);
    EXPECT_FALSE(this->Of(file + std::string("\0x", 2)).Exists()) << "a zero does not end a name";

    KivSys::UnlinkA(file.c_str());
    auto copy = path;
    EXPECT_TRUE(copy.Exists()) << "a copy takes the caches with it";
    path = path.FullPath();
    EXPECT_TRUE(path.Exists()) << "an equal text changes nothing";
    path.ClearAttributes();
    EXPECT_FALSE(path.Exists());
    copy.ChangeExtension(this->Text("txt"), TestFixture::Path::EXTENSION_REPLACE_LAST);
    EXPECT_FALSE(copy.Exists());
}

TYPED_TEST(PathText, OfADirectoryIsItsOwnDirectory)
{
    const Folder folder;
    const auto path = this->Of(folder.Path());
    EXPECT_TRUE(path.IsDirectory() && !path.IsFile());
    EXPECT_EQ(this->Ascii(this->Of("\\").Directory()), "\\");
    EXPECT_EQ(this->Ascii(path.Directory()), this->Ascii(*path) + "\\");
    EXPECT_EQ(this->Of(folder / "f").Directory(), path.Directory());
}

} // namespace
