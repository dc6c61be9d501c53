// Character sets by their code-page numbers.
#pragma once

#include <cstdint>

namespace Kiv
{

// A character set, numbered like the code page. Any 16-bit number may stand here, since documents name them; ask
// KivCharset::Conv::IsImplemented before converting.
enum class CHARSET : std::uint32_t {
    UTF16 = 1200,
    WIDE = 1201, // the wide form in memory, wherever it occurs
    WINDOWS_1252 = 1252,
    UTF8 = 65001,
};

} // namespace Kiv
