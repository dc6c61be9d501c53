// What is true of every buffer that can be read and written: random operations on it and on a plain string agree.
#include <algorithm>
#include <optional>
#include <random>

#include <KivFile/CFileBuffer.h>
#include <KivFile/DiskBuffer.h>
#include <KivFile/StaticMemoryBuffer.h>

#include "TemporaryDirectory.h"

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

// The kinds differ in what becomes of a position behind the end: on disk it is taken for the end, in memory it stays
// and a put fills the gap, a fixed span has none.
struct Model {
    enum Kind { IN_MEMORY, ON_DISK, FIXED };

    unsigned int Size() const { return static_cast<unsigned int>(content.size()); }

    void SettlePut()
    {
        put = kind == ON_DISK ? std::min(put, Size()) : put;
        content.resize(std::max(put, Size()));
    }

    unsigned int Put(const std::string& bytes)
    {
        SettlePut();
        const std::size_t n = kind == FIXED ? std::min<std::size_t>(bytes.size(), Size() - put) : bytes.size();
        content.resize(std::max<std::size_t>(Size(), put + n));
        content.replace(put, n, bytes, 0, n);
        put += static_cast<unsigned int>(n);
        return static_cast<unsigned int>(n);
    }

    std::string Get(unsigned int n)
    {
        get = kind == ON_DISK ? std::min(get, Size()) : get;
        const std::string got = get < Size() ? content.substr(get, n) : "";
        get += static_cast<unsigned int>(got.size());
        return got;
    }

    // Nothing where a seek is refused at once.
    std::optional<unsigned int> Target(unsigned int position, unsigned int off, Buffer::Origin origin, bool forward)
    {
        const std::uint64_t start = origin == Buffer::Beginning ? 0 : origin == Buffer::End ? Size() : position;
        const bool leavesDisk =
            kind == ON_DISK && origin == Buffer::Current && start + off > std::max(Size(), position);
        if (forward ? start + off > 0xFFFFFFFF || leavesDisk : origin == Buffer::Beginning || off > start)
            return {};
        return static_cast<unsigned int>(forward ? start + off : start - off);
    }

    // The seeks return false where the buffer must throw.
    bool SeekP(std::optional<unsigned int> target)
    {
        const bool isRefused = !target || (*target > Size() && kind != IN_MEMORY);
        if (target > Size() && kind == IN_MEMORY)
            Put(std::string(*target - Size(), '\0'));
        put = target && (!isRefused || kind == ON_DISK) ? *target : put;
        return !isRefused;
    }

    bool SeekG(std::optional<unsigned int> target)
    {
        get = target && (*target <= Size() || kind == ON_DISK) ? *target : get;
        return target && *target <= Size();
    }

    void ClearEnd()
    {
        SettlePut();
        content.resize(put);
        get = kind == ON_DISK ? std::min(get, Size()) : get;
    }

    Kind kind;
    std::string content{};
    unsigned int get = 0;
    unsigned int put = 0;
};

template <class Seek>
bool Succeeds(Seek seek)
{
    try {
        seek();
    } catch (const KivFile::SeekOutOfRangeException&) {
        return false;
    }
    return true;
}

// What a copy of n bytes delivers, to text or to a buffer.
std::string Copied(Buffer& buffer, unsigned int n, bool toBuffer)
{
    std::string text;
    KivFile::MemoryBuffer target;
    const unsigned int count =
        toBuffer ? buffer.Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(target), n) : buffer.Copy(text, n);
    text = toBuffer ? ContentOf(target) : text;
    return count == text.size() ? text : "a wrong count";
}

void RunAgainst(Buffer& buffer, Model model, unsigned int seed)
{
    std::mt19937 random(seed);
    const auto below = [&random](unsigned int limit) { return static_cast<unsigned int>(random() % limit); };
    for (int step = 0; step < 6000; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
        const unsigned int dice = below(100);
        const unsigned int n = 1 + below(60);
        const unsigned int off = below(model.Size() + 1 + (n > 50 ? 40 : 0));
        const auto origin = static_cast<Buffer::Origin>(n % 3);
        // What is not forward is backward.
        const auto direction = n % 5 == 0   ? static_cast<Buffer::Direction>(7)
                               : n % 2 == 0 ? Buffer::Backward
                                            : Buffer::Forward;
        const bool forward = direction == Buffer::Forward;
        if (dice == 0 && model.kind != Model::FIXED) {
            buffer.Clear();
            model = {model.kind};
        } else if (dice < 3 && model.kind != Model::FIXED) {
            buffer.ClearEnd();
            model.ClearEnd();
        } else if (dice < 40) {
            std::string bytes(n, '?');
            std::generate(bytes.begin(), bytes.end(), [i = step]() mutable { return static_cast<char>(i++); });
            ASSERT_EQ(buffer.Put(bytes.data(), n), model.Put(bytes));
        } else if (dice < 60) {
            std::string got(n, '?');
            got.resize(buffer.Get(got.data(), n));
            ASSERT_EQ(got, model.Get(n));
        } else if (dice < 70) {
            ASSERT_EQ(Copied(buffer, n, dice % 2 == 0), model.Get(n));
        } else if (dice < 85) {
            const unsigned int any = dice == 84 ? 0xFFFFFFFF : off;
            ASSERT_EQ(Succeeds([&] { buffer.SeekG(any, origin, direction); }),
                      model.SeekG(model.Target(model.get, any, origin, forward)));
        } else {
            ASSERT_EQ(Succeeds([&] { buffer.SeekP(off, origin, direction); }),
                      model.SeekP(model.Target(model.put, off, origin, forward)));
        }
        ASSERT_EQ(buffer.Size(), model.Size());
        ASSERT_EQ(buffer.TellG(), model.get);
        ASSERT_EQ(buffer.TellP(), model.put);
        ASSERT_EQ(buffer.EndOfFile(), model.get >= model.Size());
    }
}

TEST(BufferModel, MemoryBufferAgreesWithAString)
{
    for (const unsigned int blockSize : {1u, 7u, 64u, 1000u}) {
        KivFile::MemoryBuffer buffer(blockSize);
        RunAgainst(buffer, {Model::IN_MEMORY}, blockSize);
    }
}

TEST(BufferModel, StaticMemoryBufferAgreesWithAString)
{
    char memory[1000] = {};
    KivFile::StaticMemoryBuffer buffer(memory, sizeof memory);
    RunAgainst(buffer, {Model::FIXED, std::string(sizeof memory, '\0')}, 1);
}

TEST(BufferModel, DiskBufferAgreesWithAString)
{
    const TemporaryDirectory directory;
    for (const unsigned int cacheSize : {0u, 1u, 16u, 100u, 1000u}) {
        KivFile::DiskBuffer buffer(directory.Path(), 16, cacheSize);
        RunAgainst(buffer, {Model::ON_DISK}, cacheSize);
    }
}

TEST(BufferModel, FileBuffersDeliverWhatTheyWereGivenWhateverTheStaging)
{
    std::mt19937 random(5);
    const auto someBytes = [&random] {
        return static_cast<unsigned int>(1 + random() % (random() % 50 != 0 ? 30 : 70'000));
    };
    for (const unsigned int capacity : {0u, 1u, 10u, 40'000u}) {
        const TemporaryDirectory directory;
        KivFile::CFileT<unsigned int> file(directory.File());
        file.Open(KivFile::CFileT<unsigned int>::OpenMode::Truncate);
        KivFile::OCFileBufferT<unsigned int> out(&file, capacity);
        std::string content;
        while (content.size() < 300'000) {
            const std::string bytes(someBytes(), static_cast<char>(content.size()));
            out.Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
            content += bytes;
            ASSERT_EQ(out.TellP(), content.size());
        }
        out.Flush();

        KivFile::ICFileBufferT<unsigned int> in(&file, capacity);
        in.SeekG(0);
        std::string bytes(70'000, '?');
        for (int step = 0; step < 2000; ++step) {
            const unsigned int position = in.TellG();
            const unsigned int way = someBytes();
            if (random() % 2 == 0 && way <= position)
                ASSERT_EQ(in.SeekG(way, Buffer::Current, Buffer::Backward), position - way);
            else if (way <= content.size() - position)
                ASSERT_EQ(in.SeekG(way, Buffer::Current, Buffer::Forward), position + way);
            else
                in.SeekG(way, Buffer::End, Buffer::Backward);
            const unsigned int start = in.TellG();
            const unsigned int n = someBytes();
            ASSERT_EQ(content.compare(start, n, bytes, 0, in.Get(bytes.data(), n)), 0) << capacity;
            ASSERT_EQ(in.EndOfFile(), in.TellG() == content.size());
        }
    }
}

} // namespace
