#include <KivBase/BinaryStream.h>
#include <KivBase/BinaryStreamBuf.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <vector>

#include <gtest/gtest.h>

using namespace Kiv;

namespace
{

using Buffer = BinaryStreamBufT<unsigned int>;

// Gives one piece of its script for each read and nothing when the script is at its end. Takes bytes until it is full.
// Every call to a protected operation is noted.
class ScriptedBuffer : public Buffer
{
public:
    explicit ScriptedBuffer(std::deque<std::string> script = {}) : reads(std::move(script)) {}
    using Buffer::PutBack;

    std::deque<std::string> reads;
    std::string taken;
    unsigned int room = 1000000;
    mutable std::string calls;

protected:
    unsigned int Note(const char* call, unsigned int result) const
    {
        calls += std::string(call) + ' ';
        return result;
    }

    unsigned int vPut(const void* src, unsigned int n) override
    {
        const unsigned int count = std::min(n, room - static_cast<unsigned int>(taken.size()));
        taken.append(static_cast<const char*>(src), count);
        return Note("Put", count);
    }
    unsigned int vGet(void* dst, unsigned int n) override
    {
        Note(("Get" + std::to_string(n)).c_str(), n);
        if (reads.empty())
            return 0;
        std::string& piece = reads.front();
        const auto count = std::min(n, static_cast<unsigned int>(piece.size()));
        std::memcpy(dst, piece.data(), count);
        piece.erase(0, count);
        if (piece.empty())
            reads.pop_front();
        return count;
    }
    unsigned int vTellP() const override { return Note("TellP", 1); }
    unsigned int vSeekP(unsigned int off, Origin, Direction) override { return Note("SeekP", off); }
    unsigned int vTellG() const override { return Note("TellG", 2); }
    unsigned int vSeekG(unsigned int off, Origin, Direction) override { return Note("SeekG", off); }
    void vFlush() override { Note("Flush", 0); }
    void vClear() override { Note(PutBackUnread() == 0 ? "Clear" : "ClearWithPutBack", 0); }
    void vClearMemory() override { Note("ClearMemory", 0); }
    void vClearEnd() override { Note("ClearEnd", 0); }
    unsigned int vSize() const override { return Note("Size", 3); }
    bool vEndOfFile() const override { return Note("EndOfFile", 1) != 0; }
};

struct Wrapper : BinaryStreamBufWrapper {
    explicit Wrapper(Buffer& buffer) : BinaryStreamBufWrapper(buffer) {}
};

std::string Get(Buffer& buffer, unsigned int n)
{
    std::string bytes(n, '?');
    bytes.resize(buffer.Get(bytes.data(), n));
    return bytes;
}

} // namespace

TEST(StreamBuffer, StrictFormsDoTheirPartAndThrowAndNothingAskedCallsNothing)
{
    ScriptedBuffer buffer({"abcdef"});
    std::string narrow;
    EXPECT_EQ(buffer.Read(nullptr, 0) + buffer.Write(nullptr, 0) + buffer.Copy(narrow, 0) + buffer.Copy(buffer, 0), 0u);
    EXPECT_EQ(buffer.calls, "");
    char bytes[10] = {};
    EXPECT_THROW(buffer.Read(bytes, 10), BinaryStreamGetEOFException);
    EXPECT_STREQ(bytes, "abcdef");
    buffer.room = 4;
    EXPECT_THROW(buffer.Write("12345", 5), BinaryStreamPutEOFException);
    EXPECT_EQ(buffer.taken, "1234");
}

TEST(PutBackArea, PrependsIsFreedWhenReadAndDroppedBeforeTheBufferIsCleared)
{
    ScriptedBuffer buffer({"ef", "gh"});
    buffer.PutBack("Xcd", 3);
    EXPECT_EQ(Get(buffer, 1), "X");
    buffer.PutBack("ab", 2);
    EXPECT_EQ(Get(buffer, 3), "abc");
    EXPECT_EQ(buffer.calls, "");
    EXPECT_EQ(Get(buffer, 3), "def"); // the rest of it, then one read
    buffer.PutBack("abc", 3);
    buffer.ClearMemory();
    EXPECT_EQ(buffer.calls, "Get2 Clear ClearMemory ");
}

TEST(PutBackArea, ComesFirstInEveryCopyAndStaysWhenItsTargetIsFull)
{
    ScriptedBuffer target;
    target.room = 4;
    BinaryStreamT<unsigned int> stream(target);
    std::string narrow;
    ScriptedBuffer buffer({"de", "fg", "hi"});
    buffer.PutBack("abc", 3);
    EXPECT_EQ(buffer.Copy(narrow, 1) + buffer.Copy(target, 1), 2u);
    EXPECT_EQ(buffer.calls, "");
    EXPECT_EQ(buffer.Copy(stream, 3), 3u);
    EXPECT_EQ(target.taken, "bcde");
    buffer.PutBack("X", 1);
    EXPECT_THROW(buffer.Copy(target, 3), BinaryStreamPutEOFException);
    EXPECT_EQ(buffer.Copy(narrow, 100), 5u);
    EXPECT_EQ(narrow, "aXfghi");
}

TEST(WideCopy, JoinsThePutBackWithTheContentAndDropsOddEnds)
{
    const struct {
        std::string putBack;
        std::deque<std::string> reads;
        unsigned int wanted, copied;
        std::string bytes;
    } rows[] = {
        {"", {"abcde"}, 5, 5, "abcd"},        {"", {"abc", "de"}, 5, 5, "abde"}, // each piece loses its own odd end
        {"abc", {"d", "ef"}, 6, 6, "abcdef"}, {"abc", {}, 4, 3, "ab"},
        {"abc", {"d"}, 3, 3, "ab"},           {"abc", {"d"}, 1, 1, ""},
        {"abc", {"def"}, 5, 5, "abcd"},
    };
    for (const auto& row : rows) {
        ScriptedBuffer buffer(row.reads);
        buffer.PutBack(row.putBack.data(), static_cast<unsigned int>(row.putBack.size()));
        WString out;
        EXPECT_EQ(buffer.Copy(out, row.wanted), row.copied) << row.bytes;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.data()), 2 * out.size()), row.bytes);
    }
}

TEST(DefaultCopy, GoesInPiecesToTheFirstReadOfNothing)
{
    ScriptedBuffer buffer({std::string(32768, 'a'), "short", "b"});
    std::string out;
    EXPECT_EQ(buffer.Copy(out, 70000), 32768u + 6);
    EXPECT_EQ(buffer.calls, "Get32768 Get32768 Get32768 Get32768 ");
}

TEST(BufferWrapper, PassesEveryOperationOn)
{
    ScriptedBuffer inner({"abc", "de", "f", "g"});
    Wrapper wrapper(inner);
    std::string narrow;
    WString wide;
    EXPECT_EQ(wrapper.Put("x", 1), 1u);
    EXPECT_EQ(Get(wrapper, 3), "abc");
    EXPECT_EQ((std::vector{wrapper.TellP(), wrapper.TellG(), wrapper.Size(), wrapper.SeekP(5), wrapper.SeekG(6)}),
              (std::vector{1u, 2u, 3u, 5u, 6u}));
    EXPECT_TRUE(wrapper.EndOfFile());
    EXPECT_EQ(wrapper.Copy(wide, 2) + wrapper.Copy(narrow, 1) + wrapper.Copy(inner, 1), 4u);
    wrapper.Flush();
    wrapper.ClearEnd();
    wrapper.ClearMemory();
    EXPECT_EQ(inner.calls, "Put Get3 TellP TellG Size SeekP SeekG EndOfFile Get2 Get1 Get1 Put Flush ClearEnd Clear "
                           "ClearMemory ");
}
