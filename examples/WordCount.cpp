// Counts the words of a log: what stands between delimiters, in a file that may be larger than the memory.
//
//   example-wordcount FILE [DELIMITERS]
#include <algorithm>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include <KivBase/Exception.h>
#include <KivBase/WString.h>
#include <KivFile/BinaryStreamParser.h>
#include <KivFile/CFileBuffer.h>

namespace
{

struct Words {
    std::uint64_t count = 0;
    unsigned int longest = 0;
    std::string longestBeginning;
};

// Passes over delimiters and words in turn; no more than a block of the file is in memory at a time.
Words CountWords(KivFile::BinaryStreamParser& log, const std::string& delimiters)
{
    Words words;
    while (log.FetchUntilNot(delimiters, false)) {
        const unsigned int begin = log.GetCurrentStreamOffset();
        log.FetchUntil(delimiters, true);
        const unsigned int length = log.GetCurrentStreamOffset() - begin;
        ++words.count;
        if (length > words.longest) {
            words.longest = length;
            // The keyword ends at its own limit, however long the word is.
            words.longestBeginning.assign(log.GetKeywordBuffer(), std::min(log.GetKeywordLen(), 40u));
        }
    }
    return words;
}

void Report(const std::string& name, const std::string& delimiters)
{
    using File = KivFile::CFileT<unsigned int>;
    File file(name, File::AccessHint::Sequential);
    file.Open(File::OpenMode::Read);
    // The tokenizer reads whole blocks, so nothing has to be staged.
    KivFile::ICFileBufferT<unsigned int> buffer(&file, 0);
    KivFile::BinaryStreamParser log(buffer, true);

    const Words words = CountWords(log, delimiters);
    std::cout << words.count << " words in " << log.GetCurrentStreamOffset() << " bytes, the longest of "
              << words.longest << ": " << words.longestBeginning << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::cerr << "example-wordcount FILE [DELIMITERS]\n";
        return 2;
    }
    try {
        Report(argv[1], argc == 3 ? argv[2] : " \t\r\n,;:=\"");
        return 0;
    } catch (const Kiv::BaseException& e) {
        std::cerr << Kiv::Utf8(e.What()) << '\n';
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
    }
    return 1;
}
