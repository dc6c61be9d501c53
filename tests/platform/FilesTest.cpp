#include <ctime>
#include <vector>

#include <gtest/gtest.h>

#include "Folder.h"

namespace
{

using namespace KivSys;

TEST(OpeningFiles, EachFailureHasItsCode)
{
    const Folder folder;
    ASSERT_EQ(MakeDirectoryA((folder / "sub").c_str()), 0);
    WriteText(folder / "file", "text");
    const struct {
        const char* name;
        DWORD disposition;
        DWORD error;
    } rows[] = {
        {"missing", OpenExisting, ErrorFileNotFound},
        {"missing\\file", OpenExisting, ErrorPathNotFound},
        {"missing\\file", CreateAlways, ErrorPathNotFound},
        {"missing\\file", OpenAlways, ErrorPathNotFound},
        {"file\\below", OpenExisting, ErrorPathNotFound},
        {"sub", OpenExisting, ErrorAccessDenied},
        {"sub", OpenAlways, ErrorAccessDenied},
        {"sub", CreateAlways, ErrorAccessDenied},
        {"file", CreateNew, ErrorFileExists},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(OpenFile(folder / row.name, row.disposition), InvalidHandle()) << row.name << row.disposition;
        EXPECT_EQ(GetLastError(), row.error) << row.name << row.disposition;
    }
    EXPECT_EQ(OpenFile("", OpenExisting), InvalidHandle());
    EXPECT_EQ(GetLastError(), ErrorPathNotFound);
    EXPECT_EQ(ReadText(folder / "file"), "text");
}

TEST(OpeningFiles, DispositionsCreateKeepOrTruncateAndTellWhetherTheFileWasThere)
{
    const Folder folder;
    const struct {
        bool exists;
        DWORD disposition;
        const char* content;
        DWORD error;
    } rows[] = {
        {false, CreateNew, "", ErrorSuccess},          {false, CreateAlways, "", ErrorSuccess},
        {false, OpenAlways, "", ErrorSuccess},         {true, CreateAlways, "", ErrorAlreadyExists},
        {true, OpenAlways, "old", ErrorAlreadyExists}, {true, OpenExisting, "old", ErrorSuccess},
    };
    const std::string path = folder / "file";
    for (const auto& row : rows) {
        UnlinkA(path.c_str());
        if (row.exists)
            WriteText(path, "old");
        SetLastError(ErrorInvalidName);
        Opened file(OpenFile(path, row.disposition));
        EXPECT_EQ(GetLastError(), row.error) << row.exists << row.disposition;
        ASSERT_TRUE(file);
        file.Close();
        EXPECT_EQ(ReadText(path), row.content) << row.exists << row.disposition;
    }
}

TEST(OpeningFiles, ShareModesConflictInBothOrders)
{
    const Folder folder;
    const std::string path = folder / "file";
    WriteText(path, "old");
    const auto openReader = [&] { return OpenFile(path, OpenExisting, GenericRead, ShareRead); };
    {
        const Opened reader(openReader());
        EXPECT_TRUE(Opened(openReader()));
        for (const DWORD disposition : {OpenAlways, CreateAlways}) {
            EXPECT_EQ(OpenFile(path, disposition), InvalidHandle());
            EXPECT_EQ(GetLastError(), ErrorSharingViolation);
        }
        EXPECT_EQ(ReadText(path), "old") << "truncated by one who was refused";
    }
    const Opened writer(OpenFile(path, OpenExisting));
    ASSERT_TRUE(writer);
    EXPECT_EQ(openReader(), InvalidHandle());
    EXPECT_EQ(GetLastError(), ErrorSharingViolation);
}

TEST(OpeningFiles, AReadOnlyFileIsNeitherWrittenNorDeleted)
{
    if (IsWine())
        GTEST_SKIP() << "Wine lets root write read-only files";
    const Folder folder;
    const std::string path = folder / "file";
    WriteText(path, "old");
    const auto writeBits = std::filesystem::perms::owner_write | std::filesystem::perms::group_write |
                           std::filesystem::perms::others_write;
    const std::filesystem::path native = PathForUser(path);
    std::filesystem::permissions(native, writeBits, std::filesystem::perm_options::remove);
    EXPECT_EQ(OpenFile(path, OpenAlways), InvalidHandle());
    EXPECT_EQ(GetLastError(), ErrorAccessDenied);
    EXPECT_EQ(UnlinkA(path.c_str()), -1);
    EXPECT_EQ(GetLastError(), ErrorAccessDenied);
    EXPECT_EQ(GetFileAttributesA(path.c_str()) & AttributeReadOnly, DWORD{AttributeReadOnly});
    EXPECT_EQ(ReadText(path), "old");
    std::filesystem::permissions(native, writeBits, std::filesystem::perm_options::add);
    EXPECT_EQ(UnlinkA(path.c_str()), 0);
}

TEST(DeleteOnClose, TheNameIsThereWhileTheFileIsOpenAndGoneAfter)
{
    const Folder folder;
    const std::string path = folder / "spill";
    WriteText(path, "old");
    for (const DWORD expected : {ErrorAlreadyExists, ErrorSuccess}) {
        Opened file(OpenFile(path, CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose));
        EXPECT_EQ(GetLastError(), expected);
        ASSERT_TRUE(file);
        EXPECT_EQ(GetFileSize(file, nullptr), 0u);
        EXPECT_NE(GetFileAttributesA(path.c_str()), InvalidFileAttributes);
        EXPECT_EQ(OpenFile(path, CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose), InvalidHandle());
        EXPECT_EQ(GetLastError(), ErrorSharingViolation);
        file.Close();
        EXPECT_EQ(GetFileAttributesA(path.c_str()), InvalidFileAttributes);
        EXPECT_EQ(GetLastError(), ErrorFileNotFound);
    }
}

TEST(FilePointer, ReachesBeyond4GiBAndNeverBelowZero)
{
    const Folder folder;
    const Opened file(OpenFile(folder / "file", CreateNew, ReadWrite, ShareNone, FlagWriteThrough));
    const struct {
        LONG low, high;
        DWORD method;
        DWORD expectedLow, expectedHigh, error;
    } rows[] = {
        {5, 1, FileBegin, 5, 1, ErrorSuccess},
        {-6, -1, FileCurrent, 0xFFFFFFFF, 0, ErrorSuccess},
        {1, 0, FileCurrent, 0, 1, ErrorSuccess},
        {-1, -1, FileEnd, InvalidSetFilePointer, 0, ErrorNegativeSeek},
        {-2, -2, FileCurrent, InvalidSetFilePointer, 0, ErrorNegativeSeek},
        {0, 0, FileCurrent, 0, 1, ErrorSuccess},
        {static_cast<LONG>(0x80000000), 0, FileBegin, 0x80000000, 0, ErrorSuccess},
    };
    for (const auto& row : rows) {
        LONG high = row.high;
        SetLastError(ErrorInvalidName);
        EXPECT_EQ(SetFilePointer(file, row.low, &high, row.method), row.expectedLow) << row.low;
        EXPECT_EQ(GetLastError(), row.error) << row.low;
        if (row.error == ErrorSuccess) {
            EXPECT_EQ(static_cast<DWORD>(high), row.expectedHigh) << row.low;
        }
    }
}

TEST(FileContent, AHandleGivesOnlyTheAccessAskedFor)
{
    const Folder folder;
    WriteText(folder / "file", "old");
    char byte = 0;
    DWORD done = 1;
    {
        const Opened reader(OpenFile(folder / "file", OpenExisting, GenericRead, ShareRead, FlagRandomAccess));
        EXPECT_FALSE(WriteFile(reader, "x", 1, &done));
        EXPECT_EQ(GetLastError(), ErrorAccessDenied);
        EXPECT_EQ(done, 0u);
        EXPECT_FALSE(SetEndOfFile(reader));
        // Wine passes on that the call is invalid.
        EXPECT_EQ(GetLastError(), IsWine() ? ErrorInvalidParameter : ErrorAccessDenied);
    }
    const Opened writer(OpenFile(folder / "file", OpenExisting, GenericWrite, ShareNone, FlagSequentialScan));
    EXPECT_FALSE(ReadFile(writer, &byte, 1, &done));
    EXPECT_EQ(GetLastError(), ErrorAccessDenied);
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_EQ(GetLastError(), ErrorInvalidHandle);
}

} // namespace
