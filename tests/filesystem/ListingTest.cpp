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

    std::vector<std::string> NamesOf(const std::string& directory, const std::string& filter) const
    {
        std::vector<Path> entries;
        this->At(directory).GetFileList(entries, this->Text(filter));
        return Names(entries);
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
    EXPECT_EQ(this->NamesOf("d", "*.*"), (Names{".dot", "B.TXT", "a.txt", "c", "sub.txt"}));
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

// Calls visit with every text of up to longest characters.
template <class Visit>
void ForAllTexts(std::string_view alphabet, std::size_t longest, Visit visit, const std::string& begin = "")
{
    visit(begin);
    for (std::size_t i = 0; longest > 0 && i < alphabet.size(); ++i)
        ForAllTexts(alphabet, longest - 1, visit, begin + alphabet[i]);
}

TEST(PlainNames, StayCanonicalBehindEveryCanonicalDirectory)
{
    std::vector<std::string> directories, names;
    const auto isCanonical = [](std::string text) {
        const std::string before = text;
        KivFile::PathText::Normalize(text);
        return text == before;
    };
    for (const char* begin : {"", "file:", "\\\\", " c:"})
        ForAllTexts("a.\\: /", 4, [&](const std::string& text) {
            if (isCanonical(begin + text + "\\x"))
                directories.push_back(begin + text + '\\');
        });
    ForAllTexts("a.\\: /", 3, [&](const std::string& name) {
        if (KivFile::PathText::IsPlainName<char>(name))
            names.push_back(name);
    });
    ASSERT_TRUE(directories.size() > 100 && names.size() > 20);
    for (const std::string& directory : directories) {
        for (const std::string& name : names)
            ASSERT_TRUE(isCanonical(directory + name)) << directory << name;
    }
}

TYPED_TEST(PathList, StopEndsTheListAfterAnEntryOrBeforeTheFirst)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    this->File("file");
    std::vector<TypedPath> entries;
    const bool stop = true;
    this->At(".").GetFileListInterruptable(entries, stop, TypedPath::PATH_DEFAULT_FILTER);
    EXPECT_LE(entries.size(), 1u);
    entries.clear();
    this->At(".").GetFileListInterruptable(entries, stop, this->Text("f*"));
    EXPECT_EQ(entries.size(), 1u);
}

TYPED_TEST(PathList, RecursiveDeleteTakesTheWholeTree)
{
    this->Directory("t\\a\\b");
    for (const char* name : {"t\\1", "t\\a\\2", "t\\a\\b\\3", "beside"})
        this->File(name);
    this->At("t").RecursiveDelete(false);
    EXPECT_EQ(this->NamesOf(".", "*.*"), (Names{"beside"}));
    this->At("beside").RecursiveDelete(false);
    this->At("missing").RecursiveDelete(true);
    EXPECT_EQ(this->NamesOf(".", "*.*"), Names{});
}

TYPED_TEST(PathList, RecursiveDeleteLeavesAReadOnlyFileAndTheDirectoriesAboveIt)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    this->Directory("t\\a\\b");
    this->File("t\\a\\b\\kept").SetAttribute(TypedPath::ATTRIBUTE_READ_ONLY, true);
    this->File("t\\a\\b\\gone");
    EXPECT_EQ(CauseOf<KivFile::FileCannotDeleteException>([&] { this->At("t").RecursiveDelete(false); }),
              (Cause{{this->In("t\\a\\b")}, KivSys::ErrorDirNotEmpty}));
    EXPECT_EQ(this->NamesOf("t\\a\\b", "*.*"), (Names{"kept"}));
    this->At("t").RecursiveDelete(true);
    EXPECT_FALSE(this->At("t").Exists());
}

} // namespace
