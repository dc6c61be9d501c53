#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <iconv.h>
#include <iterator>
#include <map>
#include <string_view>

#include <platform/Conversion.h>

namespace KivSys
{

namespace
{

// Whether each byte is a character by itself. Then a byte 0x80 to 0x9F that is none is the control character of the
// same value; ASCII keeps no such bytes and stands with the others.
enum class Width { Single, Several };

struct CodePageRow {
    unsigned int codePage;
    const char* name;
    Width width;
};

constexpr CodePageRow CODE_PAGES[] = {
    {37, "IBM037", Width::Single},          {437, "IBM437", Width::Single},
    {500, "IBM500", Width::Single},         {737, "CP737", Width::Single},
    {775, "CP775", Width::Single},          {850, "IBM850", Width::Single},
    {852, "IBM852", Width::Single},         {855, "IBM855", Width::Single},
    {857, "IBM857", Width::Single},         {858, "CP858", Width::Single},
    {860, "IBM860", Width::Single},         {861, "IBM861", Width::Single},
    {862, "IBM862", Width::Single},         {863, "IBM863", Width::Single},
    {864, "IBM864", Width::Single},         {865, "IBM865", Width::Single},
    {866, "IBM866", Width::Single},         {869, "IBM869", Width::Single},
    {874, "CP874", Width::Single},          {932, "CP932", Width::Several},
    {936, "CP936", Width::Several},         {949, "CP949", Width::Several},
    {950, "CP950", Width::Several},         {1026, "IBM1026", Width::Single},
    {1047, "IBM1047", Width::Single},       {1200, "UTF-16LE", Width::Several},
    {1250, "CP1250", Width::Single},        {1251, "CP1251", Width::Single},
    {1252, "CP1252", Width::Single},        {1253, "CP1253", Width::Single},
    {1254, "CP1254", Width::Single},        {1255, "CP1255", Width::Single},
    {1256, "CP1256", Width::Single},        {1257, "CP1257", Width::Single},
    {1258, "CP1258", Width::Single},        {1361, "JOHAB", Width::Several},
    {10000, "MACINTOSH", Width::Single},    {10007, "MAC-CYRILLIC", Width::Single},
    {10017, "MAC-UK", Width::Single},       {10029, "MAC-CENTRALEUROPE", Width::Single},
    {10079, "MAC-IS", Width::Single},       {20127, "ASCII", Width::Several},
    {20866, "KOI8-R", Width::Single},       {21866, "KOI8-U", Width::Single},
    {28591, "ISO-8859-1", Width::Single},   {28592, "ISO-8859-2", Width::Single},
    {28593, "ISO-8859-3", Width::Single},   {28594, "ISO-8859-4", Width::Single},
    {28595, "ISO-8859-5", Width::Single},   {28596, "ISO-8859-6", Width::Single},
    {28597, "ISO-8859-7", Width::Single},   {28598, "ISO-8859-8", Width::Single},
    {28599, "ISO-8859-9", Width::Single},   {28600, "ISO-8859-10", Width::Single},
    {28603, "ISO-8859-13", Width::Single},  {28604, "ISO-8859-14", Width::Single},
    {28605, "ISO-8859-15", Width::Single},  {28606, "ISO-8859-16", Width::Single},
    {50220, "ISO-2022-JP", Width::Several}, {50225, "ISO-2022-KR", Width::Several},
    {51932, "EUC-JP", Width::Several},      {51936, "EUC-CN", Width::Several},
    {51949, "EUC-KR", Width::Several},      {54936, "GB18030", Width::Several},
    {65000, "UTF-7", Width::Several},
};

constexpr bool IsBefore(const CodePageRow& row, unsigned int codePage)
{
    return row.codePage < codePage;
}

static_assert(std::is_sorted(std::begin(CODE_PAGES), std::end(CODE_PAGES),
                             [](const CodePageRow& a, const CodePageRow& b) { return IsBefore(a, b.codePage); }),
              "found by binary search");

const CodePageRow* FindRow(unsigned int codePage)
{
    const CodePageRow* row = std::lower_bound(std::begin(CODE_PAGES), std::end(CODE_PAGES), codePage, IsBefore);
    return row != std::end(CODE_PAGES) && row->codePage == codePage ? row : nullptr;
}

class Descriptor
{
public:
    Descriptor(const char* to, const char* from) : m_descriptor(::iconv_open(to, from)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (IsOpen())
            ::iconv_close(m_descriptor);
    }

    bool IsOpen() const { return m_descriptor != reinterpret_cast<iconv_t>(-1); }
    iconv_t Get() const { return m_descriptor; }

private:
    iconv_t m_descriptor;
};

constexpr const char* WIDE_NAME = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// Takes the result of a conversion as far as it fits and counts all of it. With capacity 0 it only counts.
template <class Unit>
class Output
{
public:
    Output(Unit* to, int capacity) : m_to(to), m_capacity(static_cast<std::size_t>(capacity)) {}

    void Put(const Unit* units, std::size_t count)
    {
        if (m_count + count <= m_capacity)
            std::copy_n(units, count, m_to + m_count);
        m_count += count;
    }

    std::size_t Count() const { return m_count; }

private:
    Unit* m_to;
    std::size_t m_capacity;
    std::size_t m_count = 0;
};

// Without bytes it stands for the end of the text.
struct Input {
    const char* bytes = nullptr;
    std::size_t left = 0;
};

// Converts as far as it goes; false when something in the way has no counterpart or is cut short. At the end of the
// text what the descriptor holds back is put out, and the descriptor is as new.
template <class Unit>
bool Pump(iconv_t descriptor, Input& input, Output<Unit>& output)
{
    for (;;) {
        Unit chunk[512];
        char* from = const_cast<char*>(input.bytes);
        char* to = reinterpret_cast<char*>(chunk);
        std::size_t room = sizeof chunk;
        const bool isDone = ::iconv(descriptor, &from, &input.left, &to, &room) != static_cast<std::size_t>(-1);
        const bool isFull = !isDone && errno == E2BIG;
        input.bytes = from;
        output.Put(chunk, (sizeof chunk - room) / sizeof(Unit));
        if (!isFull)
            return isDone;
    }
}

template <class Unit>
void Finish(iconv_t descriptor, Output<Unit>& output)
{
    Input end;
    Pump(descriptor, end, output);
}

// Converts all, calling replace(position) for each source unit that cannot be converted. The system may pass over some
// units although it refuses them; it is given them again.
template <class SourceUnit, class Unit, class Replace>
void ConvertAll(iconv_t descriptor, const SourceUnit* source, int count, Output<Unit>& output, Replace replace,
                std::string_view passedOver = {})
{
    Input input{reinterpret_cast<const char*>(source), static_cast<std::size_t>(count) * sizeof(SourceUnit)};
    for (const char* begin = input.bytes; !Pump(descriptor, input, output); begin = input.bytes) {
        Finish(descriptor, output);
        if (std::string_view(begin, static_cast<std::size_t>(input.bytes - begin)).ends_with(passedOver)) {
            input.bytes -= passedOver.size();
            input.left += passedOver.size();
        }
        if (input.left < sizeof(SourceUnit))
            break;
        replace(input.bytes);
        input.bytes += sizeof(SourceUnit);
        input.left -= sizeof(SourceUnit);
    }
    Finish(descriptor, output);
}

constexpr bool IsC1(unsigned int value)
{
    return value >= 0x80 && value <= 0x9F;
}

constexpr WCHAR REPLACEMENT = 0xFFFD;

using ByteTable = std::array<WCHAR, 256>;

// The characters of a code page's single bytes.
ByteTable MakeByteTable(iconv_t descriptor)
{
    ByteTable table;
    for (unsigned int value = 0; value < table.size(); ++value) {
        const char byte = static_cast<char>(value);
        Output<WCHAR> output(&table[value], 1);
        ConvertAll(descriptor, &byte, 1, output, [&](const char*) {
            const WCHAR unit = IsC1(value) ? static_cast<WCHAR>(value) : REPLACEMENT;
            output.Put(&unit, 1);
        });
    }
    return table;
}

// Both directions of one code page. What is opened stays open for the thread.
struct CodePage {
    explicit CodePage(const CodePageRow& row)
        : width(row.width), passedOver(row.codePage == 949 ? "\xA2\xE8" : ""), toWide(WIDE_NAME, row.name),
          fromWide(row.name, WIDE_NAME)
    {
        if (IsOpen() && width == Width::Single)
            table = MakeByteTable(toWide.Get());
    }

    bool IsOpen() const { return toWide.IsOpen() && fromWide.IsOpen(); }
    bool KeepsControl(WCHAR unit) const { return width == Width::Single && IsC1(unit) && table[unit] == unit; }

    Width width;
    // The bytes that have no character and that the system's conversion refuses only behind them.
    std::string_view passedOver;
    Descriptor toWide;
    Descriptor fromWide;
    ByteTable table{};
};

// The code page; null, with the last error set, when the system has no such one.
const CodePage* OpenCodePage(unsigned int codePage)
{
    thread_local std::map<unsigned int, CodePage> opened;
    if (const CodePageRow* row = FindRow(codePage)) {
        const CodePage& page = opened.try_emplace(codePage, *row).first->second;
        if (page.IsOpen())
            return &page;
    }
    SetLastError(ErrorInvalidParameter);
    return nullptr;
}

int LookUp(const ByteTable& table, const char* bytes, int count, WCHAR* units, int capacity)
{
    const int length = ConversionResult(static_cast<std::size_t>(count), capacity);
    for (int i = 0; capacity != 0 && i < length; ++i)
        units[i] = table[static_cast<unsigned char>(bytes[i])];
    return length;
}

void ToWide(const CodePage& page, const char* bytes, int count, Output<WCHAR>& output)
{
    const auto replace = [&](const char*) { output.Put(&REPLACEMENT, 1); };
    ConvertAll(page.toWide.Get(), bytes, count, output, replace, page.passedOver);
}

void FromWide(const CodePage& page, const WCHAR* units, int count, Output<char>& output)
{
    const iconv_t descriptor = page.fromWide.Get();
    ConvertAll(descriptor, units, count, output, [&](const char* position) {
        WCHAR unit;
        std::memcpy(&unit, position, sizeof unit);
        const char byte = static_cast<char>(unit);
        if (page.KeepsControl(unit))
            return output.Put(&byte, 1);
        // Not every code page has ASCII's question mark.
        const WCHAR question = '?';
        Input input{reinterpret_cast<const char*>(&question), sizeof question};
        Pump(descriptor, input, output);
    });
}

} // namespace

unsigned int NarrowCodePage()
{
    return CodePageUtf8;
}

bool IsValidCodePage(unsigned int codePage)
{
    return codePage == CodePageUtf8 || OpenCodePage(codePage) != nullptr;
}

int MultiByteToWideChar(unsigned int codePage, const char* bytes, int count, WCHAR* units, int capacity)
{
    if (IsInvalidConversion(count, capacity))
        return 0;
    if (codePage == CodePageUtf8)
        return Utf8ToWideChar(bytes, count, units, capacity);
    const CodePage* page = OpenCodePage(codePage);
    if (page == nullptr)
        return 0;
    if (page->width == Width::Single)
        return LookUp(page->table, bytes, count, units, capacity);
    Output<WCHAR> output(units, capacity);
    ToWide(*page, bytes, count, output);
    return ConversionResult(output.Count(), capacity);
}

int WideCharToMultiByte(unsigned int codePage, const WCHAR* units, int count, char* bytes, int capacity)
{
    if (IsInvalidConversion(count, capacity))
        return 0;
    if (codePage == CodePageUtf8)
        return WideCharToUtf8(units, count, bytes, capacity);
    const CodePage* page = OpenCodePage(codePage);
    if (page == nullptr)
        return 0;
    Output<char> output(bytes, capacity);
    FromWide(*page, units, count, output);
    return ConversionResult(output.Count(), capacity);
}

const char* TextLineEnd()
{
    return "\n";
}

} // namespace KivSys
