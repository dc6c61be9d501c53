#include "ConfigText.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <Kiv/Config.h>
#include <KivBase/Handle.h>
#include <platform/Platform.h>

#include "ConfigLine.h"
#include "MessageRecord.h"

namespace KivFile
{

namespace
{

using Kiv::WString;
using Kiv::WStringView;

constexpr KivSys::DWORD PIECE = 1 << 20;

// Reads the last error first.
template <class Exception>
[[noreturn]] void ThrowSystemError(MessageId id, const std::string& fileName)
{
    const std::uint32_t error = KivSys::GetLastError();
    const auto record = MessageRecord(id, "src/KivConfigFile", fileName);
    record->SetLastError(error);
    throw Exception(record);
}

[[noreturn]] void ThrowCannotOpen(const std::string& fileName)
{
    ThrowSystemError<Kiv::Config::CannotOpenSourceException>(MessageId::OpeningConfigSource, fileName);
}

[[noreturn]] void ThrowCannotWrite(const std::string& fileName)
{
    ThrowSystemError<Kiv::Config::ConfigException>(MessageId::Writing, fileName);
}

// Shared with everybody, as the runtime's text streams open their files.
KivSys::HANDLE Open(const std::string& fileName, KivSys::DWORD access, KivSys::DWORD disposition)
{
    return KivSys::CreateFileA(fileName.c_str(), access, KivSys::ShareRead | KivSys::ShareWrite, disposition,
                               KivSys::AttributeNormal);
}

bool IsMissing(KivSys::DWORD error)
{
    return error == KivSys::ErrorFileNotFound || error == KivSys::ErrorPathNotFound;
}

// The size is taken for a hint only: what the system makes up as it is read has none.
std::string ReadAll(const Kiv::Handle& file, const std::string& fileName)
{
    std::string bytes;
    // One byte more than a small file is thought to hold tells its end; of a large one nothing is believed.
    KivSys::DWORD wanted = std::min(KivSys::GetFileSize(file.Get(), nullptr), PIECE - 1) + 1;
    KivSys::DWORD read = 0;
    do {
        const std::size_t size = bytes.size();
        bytes.resize(size + wanted);
        if (!KivSys::ReadFile(file.Get(), bytes.data() + size, wanted, &read))
            ThrowCannotOpen(fileName);
        bytes.resize(size + read);
    } while (read == std::exchange(wanted, PIECE));
    return bytes;
}

void WriteAll(const Kiv::Handle& file, std::string_view bytes, const std::string& fileName)
{
    while (!bytes.empty()) {
        const auto n = static_cast<KivSys::DWORD>(std::min<std::size_t>(bytes.size(), PIECE));
        KivSys::DWORD written = 0;
        if (!KivSys::WriteFile(file.Get(), bytes.data(), n, &written))
            ThrowCannotWrite(fileName);
        bytes.remove_prefix(n);
    }
}

// UTF-8 holds all text; another code page replaces what it does not hold.
std::string Encode(WStringView text)
{
    std::string bytes = Kiv::NarrowFromWide(text);
    const bool holdsAllText = KivSys::NarrowCodePage() == KivSys::CodePageUtf8;
    if (!holdsAllText && Kiv::WideFromNarrow(bytes) != text)
        ThrowInvalidConfig();
    return bytes;
}

std::string WithPlatformLineEnds(std::string text)
{
    const std::string_view lineEnd = KivSys::TextLineEnd();
    if (lineEnd == "\n")
        return text;
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        if (c == '\n')
            result += lineEnd;
        else
            result += c;
    }
    return result;
}

} // namespace

std::optional<WString> ReadConfigText(const std::string& fileName)
{
    const Kiv::Handle file(Open(fileName, KivSys::GenericRead, KivSys::OpenExisting));
    if (file.IsValid())
        return Kiv::WideFromNarrow(ReadAll(file, fileName));
    if (!IsMissing(KivSys::GetLastError()))
        ThrowCannotOpen(fileName);
    return std::nullopt;
}

void CreateConfigFile(const std::string& fileName)
{
    const Kiv::Handle file(Open(fileName, KivSys::GenericWrite, KivSys::OpenAlways));
    if (!file.IsValid())
        ThrowCannotOpen(fileName);
}

void WriteConfigText(const std::string& fileName, WStringView text)
{
    const std::string bytes = WithPlatformLineEnds(Encode(text));
    // Windows refuses to open a hidden file with truncation.
    const Kiv::Handle file(Open(fileName, KivSys::GenericWrite, KivSys::OpenAlways));
    if (!file.IsValid())
        ThrowCannotOpen(fileName);
    if (!KivSys::SetEndOfFile(file.Get()))
        ThrowCannotWrite(fileName);
    WriteAll(file, bytes, fileName);
}

} // namespace KivFile
