// Random operations on a buffer and on a plain string must agree.
#include <algorithm>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <KivFile/CFileBuffer.h>
#include <KivFile/DiskBuffer.h>
#include <KivFile/MemoryBuffer.h>

#include "TemporaryDirectory.h"

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

// The two kinds differ in what becomes of a position behind the end: on disk it is taken for the end, in memory it
// stays and a put fills the gap.
struct Model {
    unsigned int Size() const { return static_cast<unsigned int>(content.size()); }

    void SettlePut()
    {
        put = isOnDisk ? std::min(put, Size()) : put;
        content.resize(std::max(put, Size()));
    }

    void Put(const std::string& bytes)
    {
        SettlePut();
        content.resize(std::max<std::size_t>(Size(), put + bytes.size()));
        content.replace(put, bytes.size(), bytes);
        put += static_cast<unsigned int>(bytes.size());
    }

    std::string Get(unsigned int n)
    {
        get = isOnDisk ? std::min(get, Size()) : get;
        const std::string got = get < Size() ? content.substr(get, n) : "";
        get += static_cast<unsigned int>(got.size());
        return got;
    }

    // The seeks return false where the buffer must throw.
    bool SeekP(unsigned int target)
    {
        const bool isBehind = target > Size();
        if (isBehind && !isOnDisk)
            Put(std::string(target - Size(), '\0'));
        put = target;
        return !isBehind || !isOnDisk;
    }

    bool SeekG(unsigned int target)
    {
        get = target <= Size() || isOnDisk ? target : get;
        return target <= Size();
    }

    void ClearEnd()
    {
        SettlePut();
        content.resize(put);
        get = isOnDisk ? std::min(get, Size()) : get;
    }

    bool isOnDisk;
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

void RunAgainst(Buffer& buffer, Model model, unsigned int seed)
{
    std::mt19937 random(seed);
    const auto below = [&random](unsigned int limit) { return static_cast<unsigned int>(random() % limit); };
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
        const unsigned int dice = below(100);
        const unsigned int n = 1 + below(60);
        const unsigned int target = below(model.Size() + 1 + (n > 50 ? 40 : 0));
        if (dice == 0) {
            buffer.Clear();
            model = {model.isOnDisk};
        } else if (dice < 3) {
            buffer.ClearEnd();
            model.ClearEnd();
        } else if (dice < 40) {
            const std::string bytes(n, static_cast<char>(step));
            ASSERT_EQ(buffer.Put(bytes.data(), n), n);
            model.Put(bytes);
        } else if (dice < 70) {
            std::string got(n, '?');
            got.resize(buffer.Get(got.data(), n));
            ASSERT_EQ(got, model.Get(n));
        } else if (dice < 85) {
            ASSERT_EQ(Succeeds([&] { buffer.SeekG(target); }), model.SeekG(target));
        } else {
            ASSERT_EQ(Succeeds([&] { buffer.SeekP(target); }), model.SeekP(target));
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
        RunAgainst(buffer, {false}, blockSize);
    }
}

TEST(BufferModel, DiskBufferAgreesWithAString)
{
    const TemporaryDirectory directory;
    for (const unsigned int cacheSize : {0u, 1u, 16u, 100u, 1000u}) {
        KivFile::DiskBuffer buffer(directory.Path(), 16, cacheSize);
        RunAgainst(buffer, {true}, cacheSize);
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
        while (!in.EndOfFile()) {
            const unsigned int position = in.TellG();
            const unsigned int n = someBytes();
            ASSERT_EQ(content.compare(position, n, bytes, 0, in.Get(bytes.data(), n)), 0) << capacity;
            in.SeekG(someBytes() % 20, Buffer::Current, Buffer::Forward);
        }
        EXPECT_GE(in.TellG(), content.size());
    }
}

} // namespace
