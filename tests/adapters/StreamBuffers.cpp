#include <functional>
#include <sstream>
#include <utility>

#include <KivFile/FileException.h>
#include <KivFile/IStreamBuffer.h>
#include <KivFile/OStreamBuffer.h>

#include "buffers/TemporaryDirectory.h"

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

constexpr unsigned int NO_POSITION = 0xFFFFFFFF;

TEST(StreamAdapters, RefuseTheOtherSideInTheWordsThatProgramsKnow)
{
    static char byte;
    std::stringstream stream("content");
    KivFile::OStreamBuffer out(stream);
    KivFile::IStreamBuffer in(stream);
    EXPECT_EQ(out.Mode(), 2u);
    EXPECT_EQ(in.Mode(), 3u);
    const std::pair<const char*, std::function<void()>> refusals[] = {
        {"OStreamBuffer::Get : Not implemented!", [&] { out.Get(&byte, 1); }},
        {"OStreamBuffer::TellG : Not implemented!", [&] { (void)out.TellG(); }},
        {"OStreamBuffer::SeekG : Not implemented!", [&] { out.SeekG(0); }},
        {"OStreamBuffer::Clear : Not implemented!", [&] { out.ClearMemory(); }},
        {"OStreamBuffer::ClearEnd : Not implemented!", [&] { out.ClearEnd(); }},
        {"IStreamBuffer::SeekP: Not implemented!", [&] { in.Put(&byte, 1); }},
        {"PStreamBuffer::TellP : Not implemented!", [&] { (void)in.TellP(); }},
        {"IStreamBuffer::SeekP: Not implemented!", [&] { in.SeekP(0); }},
        {"IStreamBuffer::Clear : Not implemented!", [&] { in.ClearMemory(); }},
        {"IStreamBuffer::ClearEnd : Not implemented!", [&] { in.ClearEnd(); }},
    };
    for (const auto& [text, operation] : refusals)
        EXPECT_EQ(RefusalOf(operation), text);
}

TEST(StreamAdapters, OutputMovesAndMeasuresTheStream)
{
    std::ostringstream stream;
    KivFile::OStreamBuffer out(stream);
    out.Write("0123456789", 10);
    EXPECT_EQ(out.SeekP(4, Buffer::Current, Buffer::Backward), 6u);
    EXPECT_EQ(out.SeekP(7, Buffer::End, Buffer::Backward), 3u);
    EXPECT_EQ(out.Size(), 10u);
    out.Write("x", 1);
    EXPECT_EQ(out.SeekP(99), 4u) << "what the stream refuses moves nothing";
    EXPECT_EQ(out.SeekP(2, Buffer::Current, static_cast<Buffer::Direction>(7)), 2u);
    out.Write("y", 1);
    EXPECT_EQ(stream.str(), "01yx456789");
}

TEST(StreamAdapters, SeeksOutOfRangeThrowOnBothSides)
{
    std::stringstream stream("content");
    KivFile::OStreamBuffer out(stream);
    KivFile::IStreamBuffer in(stream);
    const auto expectThrow = [&](unsigned int off, Buffer::Origin origin, int direction) {
        const auto way = static_cast<Buffer::Direction>(direction);
        EXPECT_THROW(out.SeekP(off, origin, way), KivFile::SeekOutOfRangeException) << off;
        EXPECT_THROW(in.SeekG(off, origin, way), KivFile::SeekOutOfRangeException) << off;
    };
    expectThrow(0, Buffer::Beginning, Buffer::Backward);
    expectThrow(0, Buffer::Beginning, 7);
    expectThrow(0x80000000, Buffer::Beginning, Buffer::Forward);
    expectThrow(NO_POSITION, Buffer::Current, Buffer::Backward);
}

TEST(StreamAdapters, InputThatMetItsEndHasNoPositionUntilASeek)
{
    std::istringstream stream("0123456789");
    KivFile::IStreamBuffer in(stream);
    char bytes[20];
    EXPECT_EQ(in.Get(bytes, 4), 4u);
    EXPECT_EQ(in.TellG(), 4u);
    EXPECT_EQ(in.Size(), 10u);
    EXPECT_FALSE(in.EndOfFile());
    EXPECT_EQ(in.Get(bytes, 20), 6u);
    EXPECT_EQ(std::string(bytes, 6), "456789");
    EXPECT_TRUE(in.EndOfFile());
    EXPECT_EQ(in.TellG(), NO_POSITION);
    EXPECT_EQ(in.Size(), NO_POSITION);
    EXPECT_EQ(in.Get(bytes, 1), 0u);
    EXPECT_EQ(in.SeekG(3, Buffer::End, Buffer::Backward), 7u);
    EXPECT_EQ(in.Get(bytes, 1) + in.TellG(), 9u);
    EXPECT_EQ(bytes[0], '7');
}

TEST(StreamAdapters, AFailedStreamIsNoException)
{
    std::stringstream stream("content");
    KivFile::OStreamBuffer out(stream);
    KivFile::IStreamBuffer in(stream);
    in.SeekG(2);
    stream.setstate(std::ios::failbit);
    EXPECT_EQ(out.Put("lost", 4), 4u);
    EXPECT_EQ(out.TellP(), NO_POSITION);
    EXPECT_EQ(out.SeekP(0), NO_POSITION);
    EXPECT_EQ(out.Size(), NO_POSITION);
    EXPECT_EQ(in.SeekG(5), 2u) << "a seek clears the failure after it was skipped for it";
    EXPECT_EQ(stream.str(), "content");
    std::iostream none(nullptr);
    EXPECT_EQ(KivFile::IStreamBuffer(none).SeekG(0), NO_POSITION);
}

TEST(StreamAdapters, PositionsThat32BitsCannotHoldAreNone)
{
    struct Endless : std::stringbuf {
        pos_type seekoff(off_type, std::ios::seekdir, std::ios::openmode) override { return 0x100000001; }
    } endless;
    std::iostream stream(&endless);
    EXPECT_EQ(KivFile::OStreamBuffer(stream).TellP(), NO_POSITION);
    EXPECT_EQ(KivFile::IStreamBuffer(stream).Size(), NO_POSITION);
}

struct Counted : std::stringstream {
    ~Counted() override { ++ms_deleted; }
    static inline int ms_deleted = 0;
};

TEST(StreamAdapters, DeleteOnlyWhatTheyOwn)
{
    Counted lent;
    {
        const KivFile::OStreamBuffer owner(new Counted, true);
        const KivFile::OStreamBuffer borrower(&lent, false);
        const KivFile::IStreamBuffer reader(new Counted, true);
        const KivFile::IStreamBuffer guest(&lent, false);
    }
    EXPECT_EQ(Counted::ms_deleted, 2);
}

} // namespace
