// Lists of directories and deleted trees.
#include <algorithm>

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
    EXPECT_EQ(this->NamesOf("d", "?"), (Names{"c"}));
    EXPECT_EQ(this->NamesOf("d", "none*"), Names{});
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
    const std::string alphabet = "a.\\: /";
    std::vector<std::string> names = {""};
    for (std::size_t i = 0; names[i].size() < 3; ++i) {
        for (const char character : alphabet)
            names.push_back(names[i] + character);
    }
    std::erase_if(names, [](const std::string& name) { return !KivFile::PathText::IsPlainName<char>(name); });
    ASSERT_GT(names.size(), 20u);
    for (const std::string begin : {"", "\\", "a\\", "..\\", " a\\", "c:\\", "file:\\", "\\\\", "\\\\s\\"}) {
        for (const std::string& name : names) {
            std::string text = begin + name;
            KivFile::PathText::Normalize(text);
            EXPECT_EQ(text, begin + name);
        }
    }
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

TYPED_TEST(PathList, RecursiveDeleteTakesTheWholeTree)
{
    this->Directory("t\\a\\b");
    for (const char* name : {"t\\1", "t\\a\\2", "t\\a\\b\\3", "beside", "file"})
        this->File(name);
    for (const char* name : {"t", "file", "missing"})
        this->At(name).RecursiveDelete(false);
    EXPECT_EQ(this->NamesOf("."), (Names{"beside"}));
}

TYPED_TEST(PathList, RecursiveDeleteLeavesAReadOnlyFileAndTheDirectoriesAboveIt)
{
    this->Directory("t\\a\\b");
    this->File("t\\a\\b\\kept").SetAttribute(this->READ_ONLY, true);
    this->File("t\\a\\b\\gone");
    EXPECT_EQ(CauseOf<KivFile::FileCannotDeleteException>([&] { this->At("t").RecursiveDelete(false); }),
              (Cause{{this->In("t\\a\\b")}, KivSys::ErrorDirNotEmpty}));
    EXPECT_EQ(this->NamesOf("t\\a\\b"), (Names{"kept"}));
    this->At("t").RecursiveDelete(true);
    EXPECT_FALSE(this->At("t").Exists());
}

} // namespace
