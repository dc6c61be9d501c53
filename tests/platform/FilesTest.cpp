#include "Folder.h"

namespace
{

using namespace KivSys;

TEST(OpeningFiles, DispositionsCreateKeepOrTruncateAndEachFailureHasItsCode)
{
    const Folder folder;
    ASSERT_EQ(MakeDirectoryA((folder / "sub").c_str()), 0);
    const struct {
        const char* name;
        DWORD disposition;
        DWORD error;
        const char* content = nullptr; // of the file that was opened
    } rows[] = {
        {"missing", OpenExisting, ErrorFileNotFound},
        {"missing\\file", OpenExisting, ErrorPathNotFound},
        {"missing\\file", CreateAlways, ErrorPathNotFound},
        {"file\\below", OpenExisting, ErrorPathNotFound},
        {"sub", OpenExisting, ErrorAccessDenied},
        {"sub", CreateAlways, ErrorAccessDenied},
        {"file", CreateNew, ErrorFileExists},
        {"first", CreateNew, ErrorSuccess, ""},
        {"second", CreateAlways, ErrorSuccess, ""},
        {"third", OpenAlways, ErrorSuccess, ""},
        {"file", OpenAlways, ErrorAlreadyExists, "old"},
        {"file", OpenExisting, ErrorSuccess, "old"},
        {"file", CreateAlways, ErrorAlreadyExists, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.name << ' ' << row.disposition);
        WriteText(folder / "file", "old");
        SetLastError(ErrorInvalidName);
        Opened file(OpenFile(folder / row.name, row.disposition));
        EXPECT_EQ(GetLastError(), row.error);
        EXPECT_EQ(static_cast<bool>(file), row.content != nullptr);
        file.Close();
        EXPECT_TRUE(row.content == nullptr || ReadText(folder / row.name) == row.content);
        EXPECT_TRUE(row.content != nullptr || ReadText(folder / "file") == "old");
    }
    EXPECT_EQ(CodeOfOpening("", OpenExisting), ErrorPathNotFound);
}

TEST(OpeningFiles, ShareModesConflictInBothOrders)
{
    const Folder folder;
    const std::string path = folder / "file";
    WriteText(path, "old");
    {
        const Opened reader(OpenFile(path, OpenExisting, GenericRead, ShareRead));
        EXPECT_EQ(CodeOfOpening(path, OpenExisting, GenericRead, ShareRead), ErrorSuccess);
        for (const DWORD disposition : {OpenAlways, CreateAlways})
            EXPECT_EQ(CodeOfOpening(path, disposition), ErrorSharingViolation);
        EXPECT_EQ(ReadText(path), "old") << "truncated by one who was refused";
    }
    const Opened writer(OpenFile(path, OpenExisting));
    ASSERT_TRUE(writer);
    EXPECT_EQ(CodeOfOpening(path, OpenExisting, GenericRead, ShareRead), ErrorSharingViolation);
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
        EXPECT_EQ(CodeOfOpening(path, CreateAlways, ReadWrite, ShareNone, FlagDeleteOnClose), ErrorSharingViolation);
        file.Close();
        EXPECT_EQ(CodeOf(GetFileAttributesA(path.c_str()) != InvalidFileAttributes), ErrorFileNotFound);
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
        {-1, -1, FileEnd, InvalidSetFilePointer, 0, ErrorNegativeSeek},
        {-2, -2, FileCurrent, InvalidSetFilePointer, 0, ErrorNegativeSeek},
        {1, 0, FileCurrent, 0, 1, ErrorSuccess},
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

} // namespace
