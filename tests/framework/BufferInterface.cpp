#include <KivBase/BinaryStream.h>
#include <KivBase/BinaryStreamBuf.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

using namespace Kiv;

namespace
{

using Buffer = BinaryStreamBufT<unsigned int>;

// Gives one piece of its script for each read, nothing when the script is at its end, and a failure for a piece that is
// not there. Takes bytes until it is full. Every call to a protected operation is noted.
class ScriptedBuffer : public Buffer
{
public:
    explicit ScriptedBuffer(std::deque<std::optional<std::string>> script = {}) : reads(std::move(script)) {}
    using Buffer::PutBack;

    std::deque<std::optional<std::string>> reads;
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
        if (!reads.front())
            throw std::runtime_error("scripted failure");
        std::string& piece = *reads.front();
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
    using BinaryStreamBufWrapper::BinaryStreamBufWrapper;
    explicit Wrapper(Buffer& buffer) : BinaryStreamBufWrapper(buffer) {}
};

std::string BytesOf(const WString& text)
{
    return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

std::string Get(Buffer& buffer, unsigned int n)
{
    std::string bytes(n, '?');
    bytes.resize(buffer.Get(bytes.data(), n));
    return bytes;
}

} // namespace

TEST(StreamBuffer, NothingAskedCallsNothing)
{
    ScriptedBuffer buffer({"abc"});
    ScriptedBuffer target;
    BinaryStreamT<unsigned int> stream(target);
    std::string narrow;
    WString wide;
    EXPECT_EQ(buffer.Get(nullptr, 0) + buffer.Put(nullptr, 0) + buffer.Read(nullptr, 0) + buffer.Write(nullptr, 0), 0u);
    EXPECT_EQ(buffer.Copy(narrow, 0) + buffer.Copy(wide, 0) + buffer.Copy(target, 0) + buffer.Copy(stream, 0), 0u);
    EXPECT_EQ(buffer.calls + target.calls, "");
}

TEST(StreamBuffer, StrictFormsDoTheirPartAndThrow)
{
    ScriptedBuffer buffer({"abcdef"});
    char bytes[10] = {};
    EXPECT_THROW(buffer.Read(bytes, 10), BinaryStreamGetEOFException);
    EXPECT_STREQ(bytes, "abcdef");
    buffer.room = 4;
    EXPECT_EQ(buffer.Write("123", 3), 3u);
    EXPECT_THROW(buffer.Write("456", 3), BinaryStreamPutEOFException);
    EXPECT_EQ(buffer.taken, "1234");
}

TEST(PutBackArea, PrependsIsFreedWhenReadAndDroppedBeforeTheBufferIsCleared)
{
    ScriptedBuffer buffer({"ef", "gh"});
    buffer.PutBack("Xcd", 3);
    EXPECT_EQ(Get(buffer, 1), "X");
    EXPECT_EQ(buffer.PutBackIndex(), 1u);
    buffer.PutBack("ab", 2);
    EXPECT_EQ(Get(buffer, 3), "abc");
    EXPECT_EQ(buffer.calls, "");
    EXPECT_EQ(Get(buffer, 3), "def"); // the rest of it, then one read
    EXPECT_EQ(buffer.PutBackIndex() + buffer.PutBackUnread(), 0u);
    buffer.PutBack("abc", 3);
    buffer.ClearMemory();
    EXPECT_EQ(buffer.calls, "Get2 Clear ClearMemory ");
}

TEST(PutBackArea, ComesFirstInEveryCopyAndStaysWhenItsTargetIsFull)
{
    ScriptedBuffer target;
    target.room = 4;
    BinaryStreamT<unsigned int> stream(target);
    std::string narrow = "<";
    ScriptedBuffer buffer({"de", "fg", "hi"});
    buffer.PutBack("abc", 3);
    EXPECT_EQ(buffer.Copy(narrow, 1), 1u);
    EXPECT_EQ(buffer.Copy(target, 1), 1u);
    EXPECT_EQ(buffer.calls, "");
    EXPECT_EQ(buffer.Copy(stream, 3), 3u);
    EXPECT_EQ(target.taken, "bcde");
    buffer.PutBack("X", 1);
    EXPECT_THROW(buffer.Copy(target, 3), BinaryStreamPutEOFException);
    EXPECT_EQ(buffer.Copy(narrow, 100), 5u);
    EXPECT_EQ(narrow, "<aXfghi");
}

TEST(WideCopy, JoinsThePutBackWithTheContentAndDropsOddEnds)
{
    const struct {
        std::string putBack;
        std::deque<std::optional<std::string>> reads;
        unsigned int wanted, copied;
        std::string bytes;
    } rows[] = {
        {"", {"abcde"}, 5, 5, "abcd"},  {"", {"abc", "de"}, 5, 5, "abde"}, // each piece loses its own odd end
        {"ab", {"cd"}, 4, 4, "abcd"},   {"a", {"bcd"}, 4, 4, "abcd"},      {"abc", {"d", "ef"}, 6, 6, "abcdef"},
        {"abc", {}, 4, 3, "ab"},        {"abc", {"d"}, 3, 3, "ab"},        {"abc", {"d"}, 1, 1, ""},
        {"abc", {"def"}, 5, 5, "abcd"},
    };
    for (const auto& row : rows) {
        ScriptedBuffer buffer(row.reads);
        buffer.PutBack(row.putBack.data(), static_cast<unsigned int>(row.putBack.size()));
        WString out = u"<"_w;
        EXPECT_EQ(buffer.Copy(out, row.wanted), row.copied) << row.bytes;
        EXPECT_EQ(BytesOf(out.substr(1)), row.bytes);
    }
}

TEST(DefaultCopy, GoesInPiecesToTheFirstReadOfNothingOrAFailure)
{
    ScriptedBuffer buffer({std::string(32768, 'a'), "short", "b"});
    std::string out;
    EXPECT_EQ(buffer.Copy(out, 70000), 32768u + 6);
    EXPECT_EQ(buffer.Copy(out, 40), 0u);
    EXPECT_EQ(buffer.calls, "Get32768 Get32768 Get32768 Get32768 Get40 ");
    ScriptedBuffer failing({"abc", std::nullopt});
    out.clear();
    EXPECT_THROW(failing.Copy(out, 10), std::runtime_error);
    EXPECT_EQ(out, "abc");
    buffer.room = 2;
    EXPECT_THROW(ScriptedBuffer({"abc"}).Copy(buffer, 3), BinaryStreamPutEOFException);
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

TEST(BinaryStream, ValuesAreLittleEndian)
{
    ScriptedBuffer buffer({std::string("\x34\x12\x01", 3)});
    BinaryStreamT<unsigned int> stream(buffer);
    stream << std::uint16_t{0x1234} << 'c';
    EXPECT_EQ(buffer.taken, std::string("\x34\x12") + 'c');
    std::uint16_t value = 0;
    bool flag = false;
    stream >> value >> flag;
    EXPECT_TRUE(value == 0x1234 && flag);
    EXPECT_THROW(stream >> value, BinaryStreamGetEOFException);
}
