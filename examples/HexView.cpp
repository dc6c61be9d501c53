// Shows a part of a file as hexadecimal digits and text. Only the part that is shown is mapped, so the file may be of
// any size; a file of less than 64 KiB cannot be mapped for reading.
//
//   example-hexview FILE [OFFSET [LENGTH]]
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>

#include <KivBase/Exception.h>
#include <KivBase/WString.h>
#include <KivFile/MemoryMapFile.h>

namespace
{

constexpr std::uint64_t LINE = 16;
constexpr std::uint64_t VIEW = 65536; // views begin at multiples of it

void PrintLine(std::uint64_t offset, const unsigned char* bytes, std::uint64_t count)
{
    std::string text;
    std::printf("%08llx ", static_cast<unsigned long long>(offset));
    for (std::uint64_t i = 0; i < LINE; ++i) {
        if (i >= count) {
            std::printf("   ");
            continue;
        }
        std::printf(" %02x", bytes[i]);
        text += std::isprint(bytes[i]) != 0 ? static_cast<char>(bytes[i]) : '.';
    }
    std::printf("  %s\n", text.c_str());
}

// Shows [begin, end), one view at a time. Lines begin at multiples of their length, save the first.
void Show(KivFile::MemoryMapFile& file, std::uint64_t begin, std::uint64_t end)
{
    while (begin < end) {
        const std::uint64_t viewBegin = begin / VIEW * VIEW;
        const std::uint64_t viewEnd = std::min(file.Size(), viewBegin + VIEW);
        const auto* view = static_cast<unsigned char*>(file.GetView(viewBegin, viewEnd - viewBegin));
        for (const std::uint64_t last = std::min(end, viewEnd); begin < last;) {
            const std::uint64_t count = std::min(last, begin / LINE * LINE + LINE) - begin;
            PrintLine(begin, view + (begin - viewBegin), count);
            begin += count;
        }
        file.ReleaseView(viewBegin, false);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 4) {
        std::cerr << "example-hexview FILE [OFFSET [LENGTH]]\n";
        return 2;
    }
    try {
        KivFile::MemoryMapFile file(argv[1]);
        file.Open(KivFile::MemoryMapFile::OpenMode::Read);
        const std::uint64_t begin =
            std::min<std::uint64_t>(file.Size(), argc > 2 ? std::stoull(argv[2], nullptr, 0) : 0);
        const std::uint64_t length = argc > 3 ? std::stoull(argv[3], nullptr, 0) : 256;
        Show(file, begin, begin + std::min(length, file.Size() - begin));
        return std::fflush(stdout) == 0 ? 0 : 1;
    } catch (const Kiv::BaseException& e) {
        std::cerr << Kiv::Utf8(e.What()) << '\n';
    } catch (const std::logic_error&) {
        std::cerr << "OFFSET and LENGTH are numbers\n";
    }
    return 1;
}
