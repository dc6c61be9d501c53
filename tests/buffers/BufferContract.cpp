// What is true of every buffer that can be read and written.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include <KivFile/DiskBuffer.h>
#include <KivFile/FileException.h>
#include <KivFile/MemoryBuffer.h>
#include <KivFile/StaticMemoryBuffer.h>

#include "TemporaryDirectory.h"

namespace
{

using Buffer = Kiv::BinaryStreamBufT<unsigned int>;

constexpr unsigned int SIZE = 3000;

template <unsigned int blockSize>
struct InMemory {
    KivFile::MemoryBuffer buffer{blockSize};
};

struct InCallersMemory {
    unsigned char memory[SIZE] = {};
    KivFile::StaticMemoryBuffer buffer{memory, SIZE};
};

template <unsigned int cacheSize>
struct OnDisk {
    TemporaryDirectory directory;
    KivFile::DiskBuffer buffer{directory.Path(), 16, cacheSize};
};

template <class Holder>
class BufferContract : public testing::Test
{
protected:
    BufferContract()
    {
        std::generate(m_content.begin(), m_content.end(), [i = 0]() mutable { return static_cast<char>(++i % 251); });
        m_buffer.Write(m_content.data(), SIZE);
    }

    Holder m_holder;
    Buffer& m_buffer = m_holder.buffer;
    std::string m_content = std::string(SIZE, '\0');
};

using Holders =
    testing::Types<InMemory<1>, InMemory<16>, InMemory<1024>, InCallersMemory, OnDisk<0>, OnDisk<16>, OnDisk<1024>>;
TYPED_TEST_SUITE(BufferContract, Holders);

TYPED_TEST(BufferContract, ShortReadDeliversWhatIsThereThenThrows)
{
    char bytes[10] = {};
    this->m_buffer.SeekG(6, Buffer::End, Buffer::Backward);
    EXPECT_THROW(this->m_buffer.Read(bytes, 10), Kiv::BinaryStreamGetEOFException);
    EXPECT_EQ(std::string(bytes, 6), this->m_content.substr(SIZE - 6));
    EXPECT_TRUE(this->m_buffer.EndOfFile());
    EXPECT_EQ(this->m_buffer.Get(bytes, 10), 0u);
    EXPECT_EQ(this->m_buffer.TellG(), SIZE);
}

TYPED_TEST(BufferContract, SeekOutsideTheContentThrowsAndInsideDoesNot)
{
    Buffer& buffer = this->m_buffer;
    const auto isRefused = [&](unsigned int off, Buffer::Origin origin, int direction) {
        buffer.SeekG(100);
        EXPECT_THROW(buffer.SeekG(off, origin, static_cast<Buffer::Direction>(direction)),
                     KivFile::SeekOutOfRangeException);
        return buffer.TellG() == 100;
    };
    EXPECT_TRUE(isRefused(0, Buffer::Beginning, Buffer::Backward));
    EXPECT_TRUE(isRefused(0, Buffer::Beginning, 7));
    EXPECT_TRUE(isRefused(SIZE + 1, Buffer::End, Buffer::Backward));
    EXPECT_TRUE(isRefused(0xFFFFFFFF, Buffer::End, Buffer::Forward));
    EXPECT_TRUE(isRefused(101, Buffer::Current, Buffer::Backward));
    EXPECT_TRUE(isRefused(SIZE - 99, Buffer::Current, Buffer::Forward));
    EXPECT_TRUE(isRefused(0xFFFFFFFF, Buffer::Current, Buffer::Forward));
    EXPECT_EQ(buffer.SeekG(SIZE - 100, Buffer::Current, Buffer::Forward), SIZE);
    EXPECT_EQ(buffer.SeekG(SIZE, Buffer::End, Buffer::Backward), 0u);
    EXPECT_THROW(buffer.SeekP(0, Buffer::Beginning, Buffer::Backward), KivFile::SeekOutOfRangeException);
    EXPECT_THROW(buffer.SeekP(SIZE + 1, Buffer::End, Buffer::Backward), KivFile::SeekOutOfRangeException);
}

TYPED_TEST(BufferContract, CopiesToWideTextWithoutTheOddByteAndTheRestToABuffer)
{
    Kiv::WString wide;
    this->m_buffer.SeekP(1000);
    this->m_buffer.Write(this->m_content.data(), 1500);
    this->m_content.replace(1000, 1500, this->m_content, 0, 1500);
    EXPECT_EQ(this->m_buffer.Copy(wide, 2047), 2047u);
    EXPECT_EQ(BytesOf(wide), this->m_content.substr(0, 2046));
    KivFile::MemoryBuffer target;
    std::string rest;
    EXPECT_EQ(this->m_buffer.Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(target), SIZE), SIZE - 2047);
    target.Copy(rest, SIZE);
    EXPECT_EQ(rest, this->m_content.substr(2047));
}

} // namespace
