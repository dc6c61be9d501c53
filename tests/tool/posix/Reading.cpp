// What walks and reads meet on this system only: names, directories that may not be listed, pipes.
#include <unistd.h>

#include "../Tool.h"

namespace
{

TEST_F(Tool, AFilterIsForNamesAsTheUserSeesThem)
{
    const Arguments names = {"a. x", "ab:c", "b\\c", "end.", "x?y"};
    for (const std::string& name : names)
        std::ofstream(fs::path(User(".")) / name) << "";
    const struct {
        std::string filter;
        Arguments found;
    } rows[] = {
        {"ab:*", {"ab:c"}}, {"A?:c", {"ab:c"}}, {"b\\c", {"b\\c"}},
        {"*\\c", {"b\\c"}}, {"a. *", {"a. x"}}, {"end.", {"end."}},
        {"x?y", {"x?y"}},   {"*", names},       {"*.", {"ab:c", "b\\c", "end.", "x?y"}},
    };
    for (const auto& row : rows) {
        Arguments found;
        for (const std::string& line : Lines(Call({"walk", "--filter", row.filter, User(".")}).out))
            found.push_back(fs::path(line).filename());
        std::ranges::sort(found);
        EXPECT_EQ(found, row.found) << row.filter;
    }
}

TEST_F(Tool, ADirectoryThatMayNotBeListedIsReported)
{
    const std::string closed = User("closed");
    fs::create_directory(closed);
    EXPECT_EQ(Call({"walk", closed}).err, "");
    fs::permissions(User("."), fs::perms(0711));
    fs::permissions(closed, fs::perms::none);
    const uid_t user = ::geteuid();
    ASSERT_TRUE(user != 0 || ::seteuid(65534) == 0); // root may list everything
    const bool isVisible = fs::exists(closed);
    const Outcome outcome = Call({"walk", closed});
    ASSERT_EQ(::seteuid(user), 0);
    fs::permissions(closed, fs::perms::owner_all);
    if (!isVisible)
        GTEST_SKIP() << "the temporary directory is hidden from other users";
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "kivfile: " + closed + ": Permission denied\n");
}

// Opened again, a pipe would be empty.
TEST_F(Tool, StringsComeThroughAPipe)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "b\na\n", 4), 4);
    ::close(ends[1]);
    EXPECT_EQ(Call({"strings", "list", "/dev/fd/" + std::to_string(ends[0])}).out, "a\nb\n");
    ::close(ends[0]);
}

} // namespace
