#include <KivThread/ThreadException.h>

#include <platform/Platform.h>

namespace KivThread
{

void ThrowLastError()
{
    const KivSys::DWORD code = KivSys::GetLastError();
    constexpr KivSys::DWORD CAPACITY = 512;
    KivSys::WCHAR text[CAPACITY];
    throw ThreadException(Kiv::WString(text, KivSys::FormatMessageW(code, text, CAPACITY)));
}

} // namespace KivThread
