// Counts the words of a log: what stands between delimiters, in a file of any size.
//
//   example-wordcount FILE [DELIMITERS]
#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/BinaryStreamParser.h>
#include <KivFile/IStreamBuffer.h>

namespace
{

// A buffer's positions end at 4 GiB; the bytes that were read from it are counted on.
class CountedBuffer final : public Kiv::BinaryStreamBufWrapper
{
public:
    explicit CountedBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer) : BinaryStreamBufWrapper(buffer) {}

    // Where a parser is that begins anew with each 4 GiB, less than that behind what it has read.
    [[nodiscard]] std::uint64_t Position(const KivFile::BinaryStreamParser& parser) const
    {
        return m_read - static_cast<std::uint32_t>(m_read - parser.GetCurrentStreamOffset());
    }

protected:
    unsigned int vGet(void* dst, unsigned int n) override
    {
        const unsigned int count = BinaryStreamBufWrapper::vGet(dst, n);
        m_read += count;
        return count;
    }

private:
    std::uint64_t m_read = 0;
};

// Passes over delimiters and words in turn with a block of the file in memory. False where it cannot be read.
bool Report(const std::string& name, const std::string& delimiters)
{
    std::ifstream file(name, std::ios::binary);
    KivFile::IStreamBuffer stream(file);
    CountedBuffer buffer(stream);
    KivFile::BinaryStreamParser log(buffer, true);

    std::uint64_t words = 0, longest = 0;
    std::string longestBeginning;
    for (; log.FetchUntilNot(delimiters, false); ++words) {
        const std::uint64_t begin = buffer.Position(log);
        log.FetchUntil(delimiters, true);
        if (const std::uint64_t length = buffer.Position(log) - begin; length > longest) {
            longest = length;
            // The keyword ends at its own limit, however long the word is.
            longestBeginning.assign(log.GetKeywordBuffer(), std::min(log.GetKeywordLen(), 40u));
        }
    }
    if (!file.is_open() || file.bad())
        return false;
    std::cout << words << " words in " << buffer.Position(log) << " bytes, the longest of " << longest << ": "
              << longestBeginning << '\n';
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::cerr << "example-wordcount FILE [DELIMITERS]\n";
        return 2;
    }
    if (Report(argv[1], argc == 3 ? argv[2] : " \t\r\n,;:=\""))
        return std::cout.flush() ? 0 : 1;
    std::cerr << argv[1] << ": cannot be read\n";
    return 1;
}
