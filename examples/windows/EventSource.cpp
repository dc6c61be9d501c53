#include "../EventSource.h"
#include <KivBase/Handle.h>
#include <system_error>
#include <utility>
#include <windows.h>

void Watch(const std::string& directory, const std::function<bool(const Events&)>& take)
{
    constexpr EventKind KINDS[] = {GONE, APPEARED, GONE, CHANGED, GONE, APPEARED}; // of the system's actions
    constexpr DWORD WANTED = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;
    alignas(DWORD) static char buffer[32768]; // not on the stack: a request is pending when this function is left
    static OVERLAPPED request;
    const Kiv::WString prefix = Kiv::WideFromNarrow(directory + '\\');
    const Kiv::Handle handle(::CreateFileA(directory.c_str(), FILE_LIST_DIRECTORY,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    for (Events events = {{APPEARED, Kiv::WideFromNarrow(directory), 0}};;) {
        DWORD length = 0;
        if (!handle.IsValid() || // which leaves the cause of that in place
            !::ReadDirectoryChangesW(handle.Get(), buffer, sizeof buffer, TRUE, WANTED, nullptr, &request, nullptr))
            throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), directory);
        if (!take(std::exchange(events, {})))
            return;
        ::GetOverlappedResult(handle.Get(), &request, &length, TRUE);
        for (DWORD at = 0; at < length;) {
            const auto& change = *reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(buffer + at);
            const auto* entry = reinterpret_cast<const unsigned short*>(change.FileName);
            events.push_back({KINDS[change.Action], prefix + Kiv::WString(entry, change.FileNameLength / 2), 0});
            at = change.NextEntryOffset != 0 ? at + change.NextEntryOffset : length;
        }
    }
}
