#include <functional>

#include <KivFile/CFileBuffer.h>
#include <KivFile/StaticMemoryBuffer.h>

#include "TemporaryDirectory.h"

namespace
{

using File = KivFile::CFileT<unsigned int>;
using Input = KivFile::ICFileBufferT<unsigned int>;
using Output = KivFile::OCFileBufferT<unsigned int>;

class FileBufferTest : public testing::Test
{
protected:
    TemporaryDirectory m_directory;
    File m_file{m_directory.File()};
};

TEST_F(FileBufferTest, SmallWritesReachTheFileInStagesOfTheCapacity)
{
    m_file.Open(File::OpenMode::Truncate);
    Output out(&m_file, 4096);
    for (int i = 0; i < 1000; ++i)
        out.Write("0123456789", 10);
    EXPECT_EQ(m_file.Size(), 8192u);
    EXPECT_EQ(out.Size(), 10'000u);
    EXPECT_FALSE(out.EndOfFile());
    out.Write(std::string(4096, 'x').data(), 4096);
    EXPECT_EQ(m_file.Size(), 14'096u);
    EXPECT_TRUE(out.EndOfFile());

    out.SeekP(5);
    out.Write("zz", 2);
    EXPECT_EQ(out.TellP(), 7u);
    EXPECT_EQ(out.Size(), 14'096u) << "bytes staged inside the file do not lengthen it";
    out.SeekP(14'096, Output::End, Output::Backward);
    out.Write("y", 1);
    out.Flush();
    out.Write("lost", 4);
    m_file.Close();
    EXPECT_EQ(m_directory.Content().substr(0, 12), "y1234zz78901");
}

TEST_F(FileBufferTest, SeeksWithinStagingDoNotReadTheFileAgain)
{
    m_directory.Make("0123456789abcdef");
    m_file.Open(File::OpenMode::Read);
    Input in(&m_file, 8);
    char byte = 0;
    const auto next = [&] { return in.Get(&byte, 1) == 1 ? byte : '!'; };
    EXPECT_EQ(next(), '0');
    const struct {
        unsigned int off;
        Input::Origin origin;
        Input::Direction direction;
        char expected;
        unsigned int filePosition; // behind what is staged after the read
    } rows[] = {
        {7, Input::Beginning, Input::Forward, '7', 8},   {6, Input::Current, Input::Backward, '2', 8},
        {13, Input::End, Input::Backward, '3', 8},       {1, Input::Current, Input::Forward, '5', 8},
        {8, Input::Beginning, Input::Forward, '8', 16},  {1, Input::End, Input::Backward, 'f', 16},
        {2, Input::Beginning, Input::Forward, '2', 10},  {0, Input::End, Input::Forward, '!', 16},
        {40, Input::Beginning, Input::Forward, '!', 40}, {2, Input::End, Input::Backward, 'e', 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.off << ' ' << row.origin << ' ' << row.direction);
        in.SeekG(row.off, row.origin, row.direction);
        EXPECT_EQ(next(), row.expected);
        EXPECT_EQ(m_file.Tell(), row.filePosition);
    }
    EXPECT_THROW(in.SeekG(0, Input::Beginning, Input::Backward), KivFile::SeekOutOfRangeException);
    EXPECT_EQ(in.TellG(), 15u);
    in.Clear();
    EXPECT_EQ(in.TellG(), 16u);
}

TEST_F(FileBufferTest, MemoryIsCopiedToAFile)
{
    const std::string content(100'000, 'm');
    m_file.Open(File::OpenMode::Truncate);
    Output out(&m_file, 0);
    Kiv::BaseBinaryStreamBuf& target = out;
    KivFile::MemoryBuffer(content.data(), 100'000, 40'000).Copy(target, 100'000);
    KivFile::StaticMemoryBuffer(static_cast<const void*>(content.data()), 100'000).Copy(target, 200'000);
    m_file.Close();
    EXPECT_EQ(m_directory.Content(), content + content);
}

TEST_F(FileBufferTest, WhatABufferCannotDoIsRefusedInFixedWords)
{
    using KivFile::StaticMemoryBuffer;
    Output out(&m_file, 16);
    Input in(&m_file, 16);
    char memory[8] = {};
    StaticMemoryBuffer open(memory, sizeof memory);
    StaticMemoryBuffer closed(static_cast<const void*>(memory), sizeof memory);
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { out.Get(memory, 1); }, "OCFileBufferT<T>::Get : Not implemented!"},
        {[&] { out.ClearEnd(); }, "OCFileBufferT<T>::ClearEnd : Not implemented!"},
        {[&] { in.Put(memory, 1); }, "ICFileBufferT<T>::SeekP: Not implemented!"},
        {[&] { (void)in.TellP(); }, "ICFileBuffer::TellP : Not implemented!"},
        {[&] { in.SeekP(0); }, "ICFileBufferT<T>::SeekP: Not implemented!"},
        {[&] { in.Flush(); }, "ICFileBufferT<T>::Flush: Not implemented!"},
        {[&] { closed.Put("x", 1); }, "StaticMemoryBuffer::Put: Buffer is const!"},
        {[&] { open.ClearMemory(); }, "StaticMemoryBuffer::Clear: Not implemented!"},
        {[&] { open.ClearEnd(); }, "StaticMemoryBuffer::ClearEnd: Not implemented!"},
    };
    for (const auto& [operation, words] : rows)
        EXPECT_EQ(RefusalOf(operation), words);
}

} // namespace
