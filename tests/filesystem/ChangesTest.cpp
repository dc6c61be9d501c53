// Queries and changes of files and directories.
#include <filesystem>

#include "FileSystem.h"

namespace
{

using KivFile::FileCannotCopyException;
using KivFile::FileCannotCreateException;
using KivFile::FileCannotDeleteException;
using KivFile::FileCannotMoveException;
using KivFile::FileCannotSetAttributes;

template <class T>
class PathChanges : public FileSystem<T>
{
};
TYPED_TEST_SUITE(PathChanges, BothWidths);

TYPED_TEST(PathChanges, AMissingFileIsFalseToEveryQuestionAndNotRemembered)
{
    const auto path = this->At("late");
    EXPECT_FALSE(path.Exists() || path.IsFile() || path.IsDirectory() || path.IsReadOnly() || path.IsHidden() ||
                 path.IsNotIndexed() || path.IsReadable() || path.IsWritable());
    EXPECT_EQ(path.Size(), 0u);
    EXPECT_EQ(path.GetLastModificationDate(), Kiv::DateTime());
    this->File("late", "four");
    EXPECT_TRUE(path.IsFile() && path.IsReadable() && path.IsWritable());
    EXPECT_EQ(path.Size(), 4u);
    EXPECT_GT(path.GetLastModificationDate(), Kiv::DateTime(1'700'000'000));
}

TYPED_TEST(PathChanges, WhatWasSeenIsRememberedUntilItIsCleared)
{
    auto path = this->File("file");
    ASSERT_TRUE(path.Exists());
    this->At("file").Delete(false);
    EXPECT_TRUE(path.Exists());
    path.ClearAttributes();
    EXPECT_FALSE(path.Exists());
}

TYPED_TEST(PathChanges, SetAttributeKeepsTheOtherAttributesThatTheFileHasNow)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    auto path = this->File("file");
    ASSERT_FALSE(path.IsHidden());
    this->At("file").SetAttribute(TypedPath::ATTRIBUTE_HIDDEN, true);
    if (auto again = this->At("file"); !again.IsHidden())
        GTEST_SKIP() << "the file system has no place for the attribute";
    path.SetAttribute(TypedPath::ATTRIBUTE_READ_ONLY, true);
    EXPECT_TRUE(path.IsReadOnly() && path.IsHidden() && !path.IsWritable());
    path.SetAttribute(TypedPath::ATTRIBUTE_READ_ONLY, false);
    EXPECT_TRUE(!path.IsReadOnly() && path.IsHidden());
}

TYPED_TEST(PathChanges, SetAttributeOfAMissingFileFails)
{
    auto path = this->At("missing");
    EXPECT_EQ(
        CauseOf<FileCannotSetAttributes>([&] { path.SetAttribute(TestFixture::Path::ATTRIBUTE_READ_ONLY, true); }),
        (Cause{{this->In("missing")}, KivSys::ErrorFileNotFound}));
    EXPECT_FALSE(this->At("missing").Exists());
}

TYPED_TEST(PathChanges, CreateDirMakesAllThatIsMissing)
{
    auto path = this->At("a\\b\\c");
    path.CreateDir();
    EXPECT_TRUE(path.IsDirectory());
    path.CreateDir();

    this->File("a\\file");
    const std::string file = this->In("a\\file");
    const Cause inTheWay{{file + "\\"}, KivSys::ErrorAlreadyExists};
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { this->At("a\\file\\x\\y").CreateDir(); }), inTheWay);
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { this->At("a\\file\\x\\y").CreateFileW(); }), inTheWay);
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { this->At("a\\file").CreateDir(); }),
              (Cause{{file}, KivSys::ErrorAlreadyExists}));
    EXPECT_TRUE(this->At("a\\file").IsFile());
}

TYPED_TEST(PathChanges, CreateFileMakesADirectoryForANewFileAndRefusesAnOldOne)
{
    auto path = this->At("new\\folder\\file");
    path.CreateFileW();
    EXPECT_TRUE(path.IsFile());
    EXPECT_EQ(CauseOf<FileCannotCreateException>([&] { path.CreateFileW(); }),
              (Cause{{this->In("new\\folder\\file")}, KivSys::ErrorFileExists}));
}

TYPED_TEST(PathChanges, DeletePassesOverWhatIsReadOnlyUnlessForced)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    this->At("missing").Delete(true);
    this->File("plain").Delete(false);
    this->Directory("empty").Delete(false);
    for (const char* name : {"plain", "empty"})
        EXPECT_FALSE(this->At(name).Exists()) << name;

    auto kept = this->File("kept");
    kept.SetAttribute(TypedPath::ATTRIBUTE_READ_ONLY, true);
    kept.SetAttribute(TypedPath::ATTRIBUTE_HIDDEN, true);
    kept.Delete(false);
    EXPECT_TRUE(kept.Exists());
    kept.Delete(true);
    EXPECT_FALSE(kept.Exists());

    this->Directory("full");
    this->File("full\\file");
    EXPECT_EQ(CauseOf<FileCannotDeleteException>([&] { this->At("full").Delete(true); }),
              (Cause{{this->In("full")}, KivSys::ErrorDirNotEmpty}));
}

TYPED_TEST(PathChanges, DeleteOfAnOfflineFileLeavesIt)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    auto path = this->File("away");
    path.SetAttribute(TypedPath::ATTRIBUTE_OFFLINE, true);
    if (path.IsReadable())
        GTEST_SKIP() << "the file system has no place for the attribute";
    path.RecursiveDelete(true);
    EXPECT_TRUE(path.Exists() && !path.IsWritable());
    path.SetAttribute(TypedPath::ATTRIBUTE_OFFLINE, false);
}

TYPED_TEST(PathChanges, TheFlagsOfTheTwoCopiesAreOpposites)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    const auto from = this->File("from", "new");
    const auto to = this->File("to", "old");
    const Cause refused{{this->In("from"), this->In("to")}, KivSys::ErrorFileExists};
    EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { from.Copy(to.FullPath(), false); }), refused);
    EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { TypedPath::Copy(from.FullPath(), to.FullPath(), true); }),
              refused);
    EXPECT_EQ(ReadText(this->In("to")), "old");
    from.Copy(to.FullPath(), true);
    EXPECT_EQ(ReadText(this->In("to")), "new");
    WriteText(this->In("to"), "old");
    TypedPath::Copy(from.FullPath(), to.FullPath(), false);
    EXPECT_EQ(ReadText(this->In("to")), "new");
    EXPECT_EQ(to.GetLastModificationDate(), from.GetLastModificationDate());
    EXPECT_EQ(CauseOf<FileCannotCopyException>([&] { this->At("missing").Copy(this->At("x").FullPath(), true); }),
              (Cause{{this->In("missing"), this->In("x")}, KivSys::ErrorFileNotFound}));
    EXPECT_FALSE(this->At("x").Exists());
}

TYPED_TEST(PathChanges, MoveAndRenameTakeTheNewTextAndReplaceNothing)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    this->File("other", "other");
    const struct {
        void (TypedPath::*member)(const typename TypedPath::String&);
        void (*function)(const typename TypedPath::String&, const typename TypedPath::String&);
    } forms[] = {{&TypedPath::Move, &TypedPath::Move}, {&TypedPath::Rename, &TypedPath::Rename}};
    for (const auto& form : forms) {
        auto path = this->File("file", "four");
        ASSERT_EQ(path.Size(), 4u);
        EXPECT_EQ(CauseOf<FileCannotMoveException>([&] { (path.*form.member)(this->At("other").FullPath()); }),
                  (Cause{{this->In("file"), this->In("other")}, KivSys::ErrorAlreadyExists}));
        EXPECT_EQ(this->Ascii(path.FullPath()), this->In("file"));
        EXPECT_EQ(ReadText(this->In("other")), "other");

        const auto target = this->At("FILE-2").FullPath();
        (path.*form.member)(this->Text(this->In("") + "/./FILE-2"));
        EXPECT_EQ(path.FullPath(), target);
        EXPECT_EQ(this->Ascii(path.FullPathLowerCase()), Kiv::ToLower(this->In("FILE-2")));
        EXPECT_TRUE(path.IsFile() && !this->At("file").Exists());
        form.function(target, this->At("file-3").FullPath());
        EXPECT_EQ(ReadText(this->In("file-3")), "four");
        path.ClearAttributes();
        EXPECT_EQ(CauseOf<FileCannotMoveException>([&] { form.function(target, this->At("x").FullPath()); }).error,
                  KivSys::DWORD{KivSys::ErrorFileNotFound});
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
    const std::string name = std::string(120, 'n') + "\\" + std::string(60, 'm');
    auto path = this->At(name);
    path.CreateFileW();
    path.ClearAttributes();
    EXPECT_TRUE(path.IsFile());
    const Kiv::WString wide = Kiv::Wide(u"gr\u00fc\u00df-\u65e5\u672c-\U0001F600");
    KivFile::PathT<unsigned short> file(Kiv::WideFromNarrow(this->In("x") + "\\") + wide);
    file.CreateFileW();
    std::vector<KivFile::PathT<unsigned short>> entries;
    KivFile::PathT<unsigned short>(Kiv::WideFromNarrow(this->In("x")))
        .GetFileList(entries, KivFile::PathT<unsigned short>::PATH_DEFAULT_FILTER);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].FileName(), wide);
    entries[0].Delete(false);
    file.ClearAttributes();
    EXPECT_FALSE(file.Exists());
}

} // namespace
