// Lists of directories and deleted trees.
#include <algorithm>

#include <AllTexts.h>
#include <src/PathText.h>

#include "FileSystem.h"

namespace
{

template <class T>
class PathList : public FileSystem<T>
{
protected:
    using typename FileSystem<T>::Path;

    static std::vector<std::string> Names(const std::vector<Path>& entries)
    {
        std::vector<std::string> names;
        for (const Path& entry : entries)
            names.push_back(Widths<T>::Ascii(entry.FileName()));
        std::sort(names.begin(), names.end());
        return names;
    }

    std::vector<std::string> NamesOf(const std::string& directory, const std::string& filter = "*.*") const
    {
        return Names(this->Entries(directory, filter));
    }
};
TYPED_TEST_SUITE(PathList, BothWidths);

using Names = std::vector<std::string>;

TYPED_TEST(PathList, AppendsTheEntriesThatMatch)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    this->Directory("d\\sub.txt");
    for (const char* name : {"d\\a.txt", "d\\B.TXT", "d\\c", "d\\.dot"})
        this->File(name);
    EXPECT_EQ(this->NamesOf("d"), (Names{".dot", "B.TXT", "a.txt", "c", "sub.txt"}));
    EXPECT_EQ(this->NamesOf("d", "*.txt"), (Names{"B.TXT", "a.txt", "sub.txt"}));
    this->Directory("empty");
    for (const char* nothing : {"empty", "missing", "d\\c"}) {
        std::vector<TypedPath> entries(1);
        this->At(nothing).GetFileList(entries, TypedPath::PATH_DEFAULT_FILTER);
        EXPECT_EQ(entries.size(), 1u) << nothing;
    }
}

TYPED_TEST(PathList, EntriesRememberWhatTheSearchFound)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    auto directory = this->Directory("d");
    const auto date = this->File("d\\file", "four").GetLastModificationDate();
    std::vector<TypedPath> plain;
    std::vector<Kiv::SmartPtr<TypedPath>> shared;
    directory.GetFileList(plain, TypedPath::PATH_DEFAULT_FILTER);
    directory.GetFileListSP(shared, TypedPath::PATH_DEFAULT_FILTER);
    this->At("d").RecursiveDelete(false);

    ASSERT_TRUE(plain.size() == 1 && shared.size() == 1);
    for (const TypedPath* entry : {&plain[0], shared[0].Get()}) {
        EXPECT_TRUE(entry->IsFile() && entry->IsWritable() && !entry->IsHidden());
        EXPECT_EQ(entry->Size(), 4u);
    }
    EXPECT_EQ(shared[0]->NbRef(), 1);
    EXPECT_EQ(shared[0]->GetLastModificationDate(), date);
    // The narrow list leaves its last date with the directory.
    constexpr bool isNarrow = std::same_as<TypeParam, char>;
    EXPECT_EQ(plain[0].GetLastModificationDate(), isNarrow ? Kiv::DateTime() : date);
    if (isNarrow) {
        EXPECT_EQ(directory.GetLastModificationDate(), date);
    }
}

TYPED_TEST(PathList, MayGrowTheVectorThatHoldsTheDirectoryItself)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    std::vector<TypedPath> all;
    all.push_back(this->Directory("d"));
    const auto date = this->File("d\\1").GetLastModificationDate();
    this->File("d\\2");
    all.shrink_to_fit();
    all[0].GetFileList(all, TypedPath::PATH_DEFAULT_FILTER);
    EXPECT_EQ(TestFixture::Names(all), (std::vector<std::string>{"1", "2", "d"}));
    EXPECT_GE(all[0].GetLastModificationDate(), date);
}

TEST(PlainNames, StayCanonicalBehindEveryCanonicalDirectory)
{
    int plain = 0;
    ForAllTexts(std::string("a.\\: /"), 3, [&](const std::string& name) {
        if (!KivFile::PathText::IsPlainName<char>(name))
            return;
        ++plain;
        for (const std::string begin : {"", "\\", "a\\", "..\\", " a\\", "c:\\", "file:\\", "\\\\", "\\\\s\\"}) {
            std::string text = begin + name;
            KivFile::PathText::Normalize(text);
            EXPECT_EQ(text, begin + name);
        }
    });
    EXPECT_GT(plain, 20);
}

// On Windows the narrow form of such a name can hold separators.
TYPED_TEST(PathList, LookAlikesOfTheSeparatorLeadOutOfNoDirectory)
{
    using Kiv::operator""_w;
    auto directory = this->Directory("d");
    this->File("file");
    KivFile::PathT<unsigned short>(Kiv::Wide(this->In("d\\x")) + u"\uFF3C..\uFF3C..\uFF3Cfile"_w).CreateFileW();
    EXPECT_EQ(this->Entries("d").size(), 1u);
    try {
        directory.RecursiveDelete(false);
    } catch (const KivFile::FileCannotDeleteException&) { // where narrow text has no name for it
    }
    EXPECT_TRUE(this->At("file").Exists());
}

TYPED_TEST(PathList, StopEndsTheListAfterAnEntry)
{
    for (const char* name : {"f1", "f2"})
        this->File(name);
    std::vector<KivFile::PathT<TypeParam>> entries;
    const bool stop = true;
    this->At(".").GetFileListInterruptable(entries, stop, this->Text("f*"));
    EXPECT_EQ(entries.size(), 1u);
}

TYPED_TEST(PathList, RecursiveDeleteTakesTheTreeButAReadOnlyFileAndTheDirectoriesAboveIt)
{
    this->Directory("t\\a\\b");
    for (const char* name : {"t\\1", "t\\a\\2", "t\\a\\b\\kept", "t\\a\\b\\gone", "beside", "file"})
        this->File(name);
    this->At("t\\a\\b\\kept").SetAttribute(this->READ_ONLY, true);
    EXPECT_EQ(CauseOf<KivFile::FileCannotDeleteException>([&] { this->At("t").RecursiveDelete(false); }),
              (Cause{{this->In("t\\a\\b")}, KivSys::ErrorDirNotEmpty}));
    EXPECT_EQ(this->NamesOf("t\\a\\b"), (Names{"kept"}));
    this->At("t").RecursiveDelete(true);
    for (const char* name : {"file", "missing"})
        this->At(name).RecursiveDelete(false);
    EXPECT_EQ(this->NamesOf("."), (Names{"beside"}));
}

} // namespace
