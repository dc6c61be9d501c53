// String sets and their files.
#include <gtest/gtest.h>

#include <KivFile/FileException.h>
#include <KivFile/PersistentStringSet.h>

#include "buffers/TemporaryDirectory.h"

namespace
{

using KivFile::PersistentStringSet;
using Strings = std::set<std::string>;

PersistentStringSet Make(const Strings& strings)
{
    PersistentStringSet set;
    set.Set() = strings;
    return set;
}

TEST(StringSet, AnyLineEndAndAnyOrderIsRead)
{
    const TemporaryDirectory directory;
    const std::pair<std::string, Strings> rows[] = {
        {"x\r\n\r\ny\nz", {"x", "y", "z"}},
        {"\r\rb\ra\rB\r", {"B", "a", "b"}},
        {"b\n\xFF\na\nb\na\n", {"a", "b", "\xFF"}},
        {std::string(" \0\n", 3), {std::string(" \0", 2)}},
        {"", {}},
    };
    for (const auto& [content, strings] : rows)
        EXPECT_EQ(PersistentStringSet(directory.Make(content)).Set(), strings) << content;
}

TEST(StringSet, IsWrittenInByteOrderAndCutsALongerFileButNotWhenEmpty)
{
    const TemporaryDirectory directory;
    Make({}).Save(directory.File());
    EXPECT_EQ(directory.EntryName(), "");
    const std::string longName(40'000, 'n');
    Make({"y", "x", "X", "\xE4", longName}).Save(directory.Make(std::string(100'000, '?')));
    EXPECT_EQ(directory.Content(), "X\r\n" + longName + "\r\nx\r\ny\r\n\xE4\r\n");
    Make({"y"}).Save(directory.File());
    Make({}).Save(directory.File());
    EXPECT_EQ(directory.Content(), "y\r\n");
}

TEST(StringSet, AFileThatCannotBeReadChangesOnlyTheName)
{
    const TemporaryDirectory directory;
    PersistentStringSet set = Make({"kept"});
    set.Load(directory.Path());
    EXPECT_EQ(set, Make({"kept"}));
    EXPECT_THROW(set.Save(""), KivFile::FileException);
    set.Load(directory.File());
    EXPECT_EQ(set, Make({"kept"}));
    set.Save("");
    EXPECT_EQ(directory.Content(), "kept\r\n");
}

TEST(StringSet, ANameGivenToSaveIsTheNameFromThenOn)
{
    const TemporaryDirectory directory;
    PersistentStringSet set(directory.Make("a\n"));
    const PersistentStringSet copy(set);
    set.Save(directory.File("second"));
    set.Set().insert("b");
    set.Save("");
    set.Set().clear();
    set.Load("");
    EXPECT_EQ(set, Make({"a", "b"}));
    EXPECT_EQ(directory.Content(), "a\n");
    copy.Save("");
    EXPECT_EQ(directory.Content(), "a\r\n");
}

TEST(StringSet, UnionAndDifferenceWorkOnTheSetItselfTooAndHaveNoFile)
{
    const TemporaryDirectory directory;
    PersistentStringSet a(directory.Make("1\n2\n"));
    const PersistentStringSet b = Make({"2", "3"});
    EXPECT_EQ(a + b, Make({"1", "2", "3"}));
    EXPECT_EQ(a - b, Make({"1"}));
    EXPECT_NE(a - b, a);
    EXPECT_THROW((a + b).Save(""), KivFile::FileException);
    EXPECT_THROW((a - b).Save(""), KivFile::FileException);
    a += a;
    EXPECT_EQ(a, Make({"1", "2"}));
    (a += b) -= Make({"1"});
    EXPECT_EQ(a, b);
    a -= a;
    EXPECT_EQ(a, Make({}));
}

} // namespace
