// Queries and changes of files and directories.
#include "FileSystem.h"

namespace
{

using namespace KivFile;

template <class T>
using PathChanges = FileSystem<T>;
TYPED_TEST_SUITE(PathChanges, BothWidths);

TYPED_TEST(PathChanges, SetAttributeKeepsTheOtherAttributesThatTheFileHasNow)
{
    EXPECT_EQ(CauseOf<FileCannotSetAttributes>([&] { this->At("none").SetAttribute(this->READ_ONLY, true); }),
              (Cause{{this->In("none")}, KivSys::ErrorFileNotFound}));
    auto path = this->File("file");
    ASSERT_FALSE(path.IsHidden());
    this->At("file").SetAttribute(this->HIDDEN, true);
    if (auto again = this->At("file"); !again.IsHidden())
        GTEST_SKIP() << "the file system has no place for the attribute";
    path.SetAttribute(this->READ_ONLY, true);
    EXPECT_TRUE(path.IsReadOnly() && path.IsHidden() && !path.IsWritable());
    path.SetAttribute(this->READ_ONLY, false);
    EXPECT_TRUE(!path.IsReadOnly() && path.IsHidden());
}

TYPED_TEST(PathChanges, CreateMakesAllThatIsMissingAndRefusesWhatIsInTheWay)
{
    this->Directory("a\\b\\c");
    auto path = this->Directory("a\\b\\c");
    EXPECT_TRUE(path.IsDirectory());
    const auto file = this->At("new\\folder\\file");
    this->At("new\\folder\\file").CreateFileW();
    EXPECT_TRUE(file.IsFile());

    const std::string name = this->In("new\\folder\\file");
    const Cause inTheWay{{name + "\\"}, KivSys::ErrorAlreadyExists};
    auto below = this->At("new\\folder\\file\\x\\y");
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { below.CreateDir(); }), inTheWay);
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { below.CreateFileW(); }), inTheWay);
    auto again = file;
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { again.CreateDir(); }),
              (Cause{{name}, KivSys::ErrorAlreadyExists}));
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { again.CreateFileW(); }),
              (Cause{{name}, KivSys::ErrorFileExists}));
    EXPECT_TRUE(file.IsFile());
}

TYPED_TEST(PathChanges, DeletePassesOverWhatIsReadOnlyUnlessForced)
{
    this->At("missing").Delete(true);
    this->File("plain").Delete(false);
    this->Directory("empty").Delete(false);
    EXPECT_TRUE(this->Entries(".").empty());

    auto kept = this->File("kept");
    kept.SetAttribute(this->READ_ONLY, true);
    kept.SetAttribute(this->HIDDEN, true);
    kept.Delete(false);
    EXPECT_TRUE(kept.Exists());
    kept.Delete(true);
    EXPECT_FALSE(kept.Exists());

    this->Directory("full\\sub");
    EXPECT_EQ(CauseOf<FileCannotDeleteException>([&] { this->At("full").Delete(true); }),
              (Cause{{this->In("full")}, KivSys::ErrorDirNotEmpty}));
}

TYPED_TEST(PathChanges, DeleteOfAnOfflineFileLeavesIt)
{
    auto path = this->File("away");
    path.SetAttribute(TestFixture::Path::ATTRIBUTE_OFFLINE, true);
    if (path.IsReadable())
        GTEST_SKIP() << "the file system has no place for the attribute";
    path.RecursiveDelete(true);
    EXPECT_TRUE(path.Exists() && !path.IsWritable());
}

TYPED_TEST(PathChanges, TheFlagsOfTheTwoCopiesAreOpposites)
{
    using TypedPath = PathT<TypeParam>;
    const auto from = this->File("from", "new");
    const auto to = this->File("to", "old");
    const auto& target = to.FullPath();
    const Cause refused{{this->In("from"), this->In("to")}, KivSys::ErrorFileExists};
    EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { from.Copy(target, false); }), refused);
    EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { TypedPath::Copy(*from, target, true); }), refused);
    EXPECT_EQ(ReadText(this->In("to")), "old");
    from.Copy(target, true);
    EXPECT_EQ(ReadText(this->In("to")), "new");
    WriteText(this->In("to"), "old");
    TypedPath::Copy(*from, target, false);
    EXPECT_EQ(ReadText(this->In("to")), "new");
    EXPECT_EQ(to.GetLastModificationDate(), from.GetLastModificationDate());
}

TYPED_TEST(PathChanges, MoveAndRenameTakeTheNewTextAndReplaceNothing)
{
    using TypedPath = PathT<TypeParam>;
    this->File("other", "other");
    const struct {
        void (TypedPath::*member)(const typename TypedPath::String&);
        void (*function)(const typename TypedPath::String&, const typename TypedPath::String&);
    } forms[] = {{&TypedPath::Move, &TypedPath::Move}, {&TypedPath::Rename, &TypedPath::Rename}};
    for (const auto& form : forms) {
        auto path = this->File("file", "four");
        EXPECT_EQ(CauseOf<FileCannotMoveException>([&] { (path.*form.member)(this->At("other").FullPath()); }),
                  (Cause{{this->In("file"), this->In("other")}, KivSys::ErrorAlreadyExists}));
        EXPECT_EQ(this->Ascii(path.FullPath()), this->In("file"));
        EXPECT_EQ(ReadText(this->In("other")), "other");

        (path.*form.member)(this->Text(this->In("") + "/./FILE-2"));
        EXPECT_EQ(this->Ascii(path.FullPath()), this->In("FILE-2"));
        EXPECT_EQ(this->Ascii(path.FullPathLowerCase()), Kiv::ToLower(this->In("FILE-2")));
        EXPECT_TRUE(path.IsFile() && !this->At("file").Exists());
        form.function(path.FullPath(), this->At("file-3").FullPath());
        EXPECT_EQ(ReadText(this->In("file-3")), "four");
        EXPECT_EQ(CauseOf<FileCannotMoveException>([&] { form.function(path.FullPath(), this->At("x").FullPath()); }),
                  (Cause{{this->In("FILE-2"), this->In("x")}, KivSys::ErrorFileNotFound}));
        this->At("file-3").Delete(false);
    }
}

TYPED_TEST(PathChanges, FreeSpaceIsThatOfTheDirectoryAndZeroWhereThereIsNone)
{
    EXPECT_GT(this->File("file").GetAvailableDiskSpace(), 0u);
    EXPECT_GT(this->Of("bare-name").GetAvailableDiskSpace(), 0u);
    EXPECT_EQ(this->At("missing\\file").GetAvailableDiskSpace(), 0u);
    EXPECT_EQ(this->Of("Q:\\").GetAvailableDiskSpace(), 0u);
}

TYPED_TEST(PathChanges, LongAndWideNamesWork)
{
    using WidePath = PathT<unsigned short>;
    const std::string name = "x\\" + std::string(120, 'n') + "\\" + std::string(60, 'm');
    this->Directory(name);
    const Kiv::WString wide = Kiv::Wide(u"gr\u00fc\u00df-\u65e5\u672c-\U0001F600");
    WidePath(Kiv::WideFromNarrow(this->In(name) + "\\") + wide).CreateFileW();
    std::vector<WidePath> entries;
    WidePath(Kiv::WideFromNarrow(this->In(name))).GetFileList(entries, WidePath::PATH_DEFAULT_FILTER);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].FileName(), wide);
    entries[0].Delete(false);
    EXPECT_TRUE(this->Entries(name).empty());
}

} // namespace
