#include <KivFile/FileException.h>
#include <KivFile/MemoryBuffer.h>
#include <KivFile/StaticMemoryBuffer.h>

#include "TemporaryDirectory.h"

namespace
{

using KivFile::MemoryBuffer;
using KivFile::StaticMemoryBuffer;

TEST(MemoryBuffer, BlocksAreMadeAndFreedWhole)
{
    MemoryBuffer buffer(0);
    buffer.Write("x", 1);
    EXPECT_EQ(buffer.Capacity(), 1024u);
    buffer.Write(nullptr, 4000);
    buffer.SeekP(2049);
    buffer.ClearEnd();
    EXPECT_EQ(buffer.Capacity(), 3072u);
    buffer.SeekP(2048);
    buffer.ClearEnd();
    buffer.Clear();
    EXPECT_EQ(buffer.Capacity(), 2048u);
    buffer.Write("old", 3);
    buffer.SetFromBuffer("new", 3);
    EXPECT_EQ(ContentOf(buffer), "new");
    buffer.SetFromBuffer(nullptr, 9);
    EXPECT_EQ(buffer.Size() + buffer.Capacity(), 0u);
}

TEST(StaticMemoryBuffer, WideCopyReadsAtTwiceTheGetPositionAndNeverBehindTheSpan)
{
    const struct {
        unsigned int get, n;
        std::string bytes;
        unsigned int count;
    } rows[] = {
        {0, 5, "0123", 5}, {1, 4, "2345", 4}, {2, 8, "4567", 7}, {3, 9, "67", 6}, {5, 4, "", 4}, {9, 4, "", 0},
    };
    StaticMemoryBuffer buffer(static_cast<const void*>("012345678"), 9);
    for (const auto& row : rows) {
        Kiv::WString units(1, '#');
        buffer.SeekG(row.get);
        EXPECT_EQ(buffer.Copy(units, row.n), row.count) << row.get;
        EXPECT_EQ(BytesOf(units), std::string("#\0", 2) + row.bytes) << row.get;
        EXPECT_EQ(buffer.TellG(), row.get + row.count);
    }
}

TEST(StaticMemoryBuffer, TakesWhatFitsWhileACopyCountsWhatWasThere)
{
    char memory[] = "0123456789........#";
    StaticMemoryBuffer target(memory + 10, 8);
    StaticMemoryBuffer source(memory, 10);
    EXPECT_EQ(source.Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(target), 10), 10u);
    EXPECT_TRUE(source.EndOfFile());
    EXPECT_STREQ(memory, "012345678901234567#");
    EXPECT_THROW(target.Write("x", 1), Kiv::BinaryStreamPutEOFException);
    MemoryBuffer strict(memory, 10, 4);
    EXPECT_THROW(strict.Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(target), 10), Kiv::BinaryStreamPutEOFException);
    EXPECT_EQ(strict.TellG(), 0u);
    target.SeekP(0);
    target.SeekG(2);
    EXPECT_EQ(target.Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(target), 6), 6u);
    EXPECT_STREQ(memory, "012345678923456767#");
}

} // namespace
