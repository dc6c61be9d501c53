#include <platform/Conversion.h>
#include <platform/windows/System.h>

namespace KivSys
{

static_assert(CodePageUtf8 == CP_UTF8);

namespace
{

// Converts character by character, so that U+FFFD replaces what the system would give the code page's own default
// character, which cannot be told from text.
int ReplacingToWideChar(unsigned int codePage, const char* bytes, int count, WCHAR* units, int capacity)
{
    constexpr int lengths[] = {1, 2, 4};
    std::size_t made = 0;
    while (count > 0) {
        WCHAR character[4];
        int size = 0;
        int length = 1;
        for (const int tried : lengths) {
            if (size == 0 && tried <= count) {
                size = ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, bytes, tried, Wide(character), 4);
                length = size != 0 ? tried : 1;
            }
        }
        if (size == 0)
            character[size++] = 0xFFFD;
        for (int i = 0; i < size; ++i, ++made) {
            if (made < static_cast<std::size_t>(capacity))
                units[made] = character[i];
        }
        bytes += length;
        count -= length;
    }
    return ConversionResult(made, capacity);
}

} // namespace

unsigned int NarrowCodePage()
{
    return ::GetACP();
}

bool IsValidCodePage(unsigned int codePage)
{
    return ::IsValidCodePage(codePage) != 0;
}

int MultiByteToWideChar(unsigned int codePage, const char* bytes, int count, WCHAR* units, int capacity)
{
    if (IsInvalidConversion(count, capacity))
        return 0;
    if (codePage == CodePageUtf8)
        return Utf8ToWideChar(bytes, count, units, capacity);
    const int made = ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, bytes, count, Wide(units), capacity);
    if (made != 0)
        return made;
    if (::GetLastError() == ERROR_NO_UNICODE_TRANSLATION)
        return ReplacingToWideChar(codePage, bytes, count, units, capacity);
    // Sets with shift states do not take the flag.
    return ::MultiByteToWideChar(codePage, 0, bytes, count, Wide(units), capacity);
}

int WideCharToMultiByte(unsigned int codePage, const WCHAR* units, int count, char* bytes, int capacity)
{
    if (IsInvalidConversion(count, capacity))
        return 0;
    if (codePage == CodePageUtf8)
        return WideCharToUtf8(units, count, bytes, capacity);
    // Without the flag the system takes look-alikes for what has no counterpart.
    const int made =
        ::WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, Wide(units), count, bytes, capacity, "?", nullptr);
    const DWORD error = ::GetLastError();
    if (made != 0 || (error != ERROR_INVALID_FLAGS && error != ERROR_INVALID_PARAMETER))
        return made;
    // Sets with shift states take neither the flag nor the character.
    return ::WideCharToMultiByte(codePage, 0, Wide(units), count, bytes, capacity, nullptr, nullptr);
}

const char* TextLineEnd()
{
    return "\r\n";
}

} // namespace KivSys
