#include "Folder.h"

namespace
{

using namespace KivSys;

// Windows gives files the archive bit by itself.
DWORD KeptAttributes(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) & (AttributeReadOnly | AttributeHidden | AttributeSystem);
}

TEST(Copying, TakesBytesTimeAndAttributesAlong)
{
    const Folder folder;
    WriteText(folder / "from", "text");
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(folder.Path() + "/from", now - std::chrono::hours(1000));
    const auto old = std::filesystem::last_write_time(folder.Path() + "/from"); // as exactly as it is kept
    ASSERT_TRUE(SetFileAttributesA((folder / "from").c_str(), AttributeReadOnly | AttributeHidden));
    WriteText(folder / "old", "something longer");
    ASSERT_TRUE(CopyFileA((folder / "from").c_str(), (folder / "new").c_str(), true)) << GetLastError();
    ASSERT_TRUE(CopyFileA((folder / "from").c_str(), (folder / "old").c_str(), false)) << GetLastError();
    for (const char* name : {"from", "new", "old"}) {
        EXPECT_EQ(ReadText(folder / name), "text");
        if (!IsWine() || name != std::string("old")) { // Wine gives a target that was there no attributes
            EXPECT_EQ(KeptAttributes(folder / name), AttributeReadOnly | AttributeHidden) << name;
        }
        SetFileAttributesA((folder / name).c_str(), AttributeNormal);
        EXPECT_EQ(std::filesystem::last_write_time(folder.Path() + '/' + name), old) << name;
    }
}

struct ChangeRow {
    const char* from;
    const char* to;
    DWORD error;
};

// Each change that fails leaves all as it was.
void ExpectFailures(bool (*change)(const char*, const char*), const std::vector<ChangeRow>& rows)
{
    const Folder folder;
    WriteText(folder / "file", "file");
    WriteText(folder / "taken", "taken");
    ASSERT_EQ(MakeDirectoryA((folder / "sub").c_str()), 0);
    const Opened inUse(OpenFile(folder / "in use", CreateNew));
    const Found before = Find(folder / "*");
    for (const ChangeRow& row : rows) {
        EXPECT_EQ(CodeOf(change((folder / row.from).c_str(), (folder / row.to).c_str())), row.error)
            << row.from << " to " << row.to;
        EXPECT_EQ(Find(folder / "*"), before) << row.from << " to " << row.to;
    }
    EXPECT_EQ(ReadText(folder / "taken"), "taken");
}

TEST(Copying, FailuresHaveTheirCodesAndChangeNothing)
{
    const std::vector<ChangeRow> rows = {
        {"missing", "new", ErrorFileNotFound},       {"missing\\x", "new", ErrorPathNotFound},
        {"file", "missing\\new", ErrorPathNotFound}, {"file", "file", ErrorSharingViolation},
        {"in use", "new", ErrorSharingViolation},    {"file", "in use", ErrorSharingViolation},
        {"sub", "new", ErrorAccessDenied},           {"file", "sub", ErrorAccessDenied},
    };
    ExpectFailures([](const char* from, const char* to) { return CopyFileA(from, to, false); }, rows);
}

TEST(Moving, NeverReplacesAndSaysWhyItFails)
{
    const std::vector<ChangeRow> rows = {
        {"file", "taken", ErrorAlreadyExists},    {"sub", "taken", ErrorAlreadyExists},
        {"file", "sub", ErrorAlreadyExists},      {"missing", "new", ErrorFileNotFound},
        {"missing\\x", "new", ErrorPathNotFound}, {"file", "missing\\new", ErrorPathNotFound},
    };
    ExpectFailures([](const char* from, const char* to) { return MoveFileA(from, to); }, rows);
    ExpectFailures([](const char* from, const char* to) { return RenameA(from, to) == 0; }, rows);
}

TEST(Moving, ToItselfOrToAnotherLetterCaseSucceeds)
{
    const Folder folder;
    WriteText(folder / "File", "text");
    EXPECT_EQ(RenameA((folder / "File").c_str(), (folder / "file").c_str()), 0);
    EXPECT_TRUE(MoveFileA((folder / "file").c_str(), (folder / "file").c_str()));
    EXPECT_EQ(Find(folder / "*"), Found{IsWine() ? "File" : "file"}) << "Wine keeps the old case";
}

} // namespace
