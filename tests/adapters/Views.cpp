#include <algorithm>

#include <KivFile/FileException.h>
#include <KivFile/MemoryBuffer.h>
#include <KivFile/ProgressBuffer.h>
#include <KivFile/SubBinaryStreamBuf.h>

#include "buffers/TemporaryDirectory.h"

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

// A buffer to whose reader bytes can be given back.
class WithPutBack : public Kiv::BinaryStreamBufWrapper
{
public:
    explicit WithPutBack(Buffer& buffer) : BinaryStreamBufWrapper(buffer) {}
    using BinaryStreamBufWrapper::PutBack;
};

// ---- A range of a buffer ------------------------------------------------------------------------------------

class RangeTest : public testing::Test
{
protected:
    // Byte i is i + 1.
    static std::string Content()
    {
        std::string content(300, '\0');
        std::generate(content.begin(), content.end(), [i = 0]() mutable { return static_cast<char>(++i); });
        return content;
    }

    KivFile::MemoryBuffer m_inner{Content().data(), 300};
    KivFile::SubBinaryStreamBuf m_range{100, 200, m_inner};
};

TEST_F(RangeTest, ReadsFromItsBeginningToItsEnd)
{
    std::string read;
    EXPECT_EQ(m_range.Size(), 100u);
    EXPECT_EQ(m_range.Copy(read, 150), 100u);
    EXPECT_EQ(read.front(), static_cast<char>(101));
    EXPECT_EQ(read.back(), static_cast<char>(200));
    EXPECT_TRUE(m_range.EndOfFile());
    m_inner.SeekG(250);
    EXPECT_EQ(m_range.Get(read.data(), 100), 0u) << "the other buffer was taken behind the end";
    EXPECT_THROW(m_range.SeekG(0, Buffer::Current, Buffer::Forward), KivFile::SeekOutOfRangeException);
}

TEST_F(RangeTest, SeeksOnBothSidesStayBeforeTheEndOnly)
{
    constexpr unsigned int REFUSED = 1000;
    const auto answer = [](auto seek) {
        try {
            return seek();
        } catch (const KivFile::SeekOutOfRangeException&) {
            return REFUSED;
        }
    };
    const auto expect = [&](Buffer::Origin origin, Buffer::Direction direction, unsigned int off, unsigned int to) {
        m_range.SeekG(40);
        m_range.SeekP(40);
        EXPECT_EQ(answer([&] { return m_range.SeekG(off, origin, direction); }), to) << origin << ' ' << off;
        EXPECT_EQ(answer([&] { return m_range.SeekP(off, origin, direction); }), to) << origin << ' ' << off;
        EXPECT_EQ(m_range.TellG(), to == REFUSED ? 40 : to);
        EXPECT_EQ(m_range.TellP(), to == REFUSED ? 40 : to);
    };
    expect(Buffer::Beginning, Buffer::Forward, 100, 100);
    expect(Buffer::Beginning, Buffer::Forward, 101, REFUSED);
    expect(Buffer::Beginning, Buffer::Backward, 0, REFUSED);
    expect(Buffer::End, Buffer::Forward, 0, 100);
    expect(Buffer::End, Buffer::Backward, 101, 0xFFFFFFFF);
    expect(Buffer::Current, Buffer::Forward, 61, REFUSED);
    expect(Buffer::Current, Buffer::Backward, 140, 0xFFFFFF9C);
}

TEST_F(RangeTest, ReadsFromBeforeItsBeginningAndWritesPastItsEnd)
{
    std::string read;
    m_range.SeekG(105, Buffer::End, Buffer::Backward);
    EXPECT_FALSE(m_range.EndOfFile());
    EXPECT_EQ(m_range.Copy(read, 1000), 105u);
    m_range.SeekP(98);
    EXPECT_EQ(m_range.Put("abcd", 4), 4u);
    EXPECT_EQ(m_range.TellP(), 102u);
    m_inner.SeekG(201);
    m_inner.Copy(read, 1);
    EXPECT_EQ(read.back(), 'd');
    EXPECT_EQ(RefusalOf([&] { m_range.ClearMemory(); }), "SubBinaryStreamBuf::Clear: Not implemented!");
    EXPECT_EQ(RefusalOf([&] { m_range.ClearEnd(); }), "SubBinaryStreamBuf::ClearEnd: Not implemented!");
}

TEST_F(RangeTest, OfABufferThatShrinksOrIsTooShort)
{
    std::string read;
    EXPECT_EQ(KivFile::SubBinaryStreamBuf(200, 100, m_inner).Copy(read, 1), 0u) << "an end before the begin";
    EXPECT_THROW(KivFile::SubBinaryStreamBuf(301, 400, m_inner), KivFile::SeekOutOfRangeException);
    KivFile::SubBinaryStreamBuf shrunk(290, 300, m_inner);
    m_inner.SeekP(295);
    m_inner.ClearEnd();
    EXPECT_EQ(shrunk.Copy(read, 10), 5u);
}

TEST_F(RangeTest, BytesGivenBackToTheOtherBuffer)
{
    WithPutBack inner(m_inner);
    char bytes[4];
    inner.PutBack("xyz", 3);
    const KivFile::SubBinaryStreamBuf whole(0, 300, inner);
    EXPECT_EQ(inner.PutBackUnread(), 0u) << "a range from 0 drops them";

    inner.PutBack("xyz", 3);
    KivFile::SubBinaryStreamBuf part(10, 20, inner);
    EXPECT_EQ(part.Get(bytes, 2), 2u);
    EXPECT_EQ(std::string(bytes, 2), "xy");
    EXPECT_EQ(part.TellG(), 0u - 2) << "those that were read are taken off the position";
    EXPECT_EQ(part.SeekG(3, Buffer::Current, Buffer::Forward), 1u);
}

// ---- Progress -----------------------------------------------------------------------------------------------

struct Log : Kiv::LogEntryCallInterface {
    explicit Log(std::vector<double>& ratios) : m_ratios(ratios) {}
    void Progress(double ratio) override { m_ratios.push_back(ratio); }
    std::vector<double>& m_ratios;
};

class ProgressTest : public testing::Test
{
protected:
    std::vector<double> m_ratios;
    Kiv::SmartPtr<Kiv::LogEntryCallInterface> m_log{new Log(m_ratios)};
    KivFile::MemoryBuffer m_buffer;
    std::string m_bytes = std::string(50000, 'b');
};

using Ratios = std::vector<double>;

TEST_F(ProgressTest, WritingReportsEachChunkThatWasAskedFor)
{
    KivFile::OProgressBuffer out(m_buffer, m_log, 10000, 100);
    EXPECT_EQ(out.UpdateChunk(), 4096u);
    for (int i = 0; i < 10000; ++i)
        out.Put("x", 1);
    EXPECT_EQ(m_ratios, (Ratios{0.4096, 0.8192}));
    EXPECT_EQ(out.Size(), 10000u);

    out.UpdateChunk(1);
    EXPECT_EQ(out.UpdateChunk(), 4096u);
    out.UpdateChunk(5000);
    out.Put(m_bytes.data(), 3000); // the threshold is still that of the old chunk
    out.Put(m_bytes.data(), 4999);
    EXPECT_EQ(m_ratios.size(), 3u);
    out.Put(m_bytes.data(), 1);
    EXPECT_EQ(m_ratios, (Ratios{0.4096, 0.8192, 1, 1}));
}

TEST_F(ProgressTest, WritingOfAnUnknownTotalIsDoneEachTimeAndALogIsNoDuty)
{
    KivFile::OProgressBuffer(m_buffer, m_log, 0, 0).Put(m_bytes.data(), 4096);
    EXPECT_EQ(m_ratios, Ratios{1});
    EXPECT_EQ(KivFile::OProgressBuffer(m_buffer, nullptr, 0, 1).Put(m_bytes.data(), 9999), 9999u);
}

TEST_F(ProgressTest, ReadingReportsThePlaceBeforeTheRead)
{
    m_buffer.Write(m_bytes.data(), 50000);
    KivFile::IProgressBuffer in(m_buffer, m_log, 0, 10);
    EXPECT_EQ(in.UpdateChunk(), 5000u);
    in.Read(m_bytes.data(), 20000);
    EXPECT_TRUE(m_ratios.empty());
    in.Read(m_bytes.data(), 20000);
    in.Read(m_bytes.data(), 1); // too little for another report
    in.SeekG(10000);
    in.Read(m_bytes.data(), 20000); // already reported
    EXPECT_EQ(m_ratios, Ratios{0.4});
    KivFile::IProgressBuffer shortTotal(m_buffer, m_log, 10000, 100);
    shortTotal.Read(m_bytes.data(), 5000);
    EXPECT_EQ(m_ratios, (Ratios{0.4, 3}));
}

TEST_F(ProgressTest, ReadingABufferThatWasEmptyReportsNothing)
{
    KivFile::IProgressBuffer in(m_buffer, m_log);
    m_buffer.Write(m_bytes.data(), 10000);
    in.Read(m_bytes.data(), 5000);
    in.Read(m_bytes.data(), 5000);
    EXPECT_TRUE(m_ratios.empty());
}

} // namespace
