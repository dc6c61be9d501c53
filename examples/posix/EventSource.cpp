#include "../EventSource.h"
#include <filesystem>
#include <map>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>
#include <utility>

// The system watches single directories, so each new one is added. What came into it before is told, perhaps twice.
struct Watches {
    const int notifications = ::inotify_init1(IN_CLOEXEC);
    std::map<int, std::string> directories; // by their watch
    Events events;
    ~Watches() { ::close(notifications); }
    void Add(const std::string& path, bool isDirectory)
    {
        constexpr auto WANTED = IN_CREATE | IN_MOVED_TO | IN_MODIFY | IN_DELETE | IN_MOVED_FROM | IN_ONLYDIR;
        events.push_back({APPEARED, Kiv::WideFromNarrow(path), 0});
        const int watch = isDirectory ? ::inotify_add_watch(notifications, path.c_str(), WANTED) : -1;
        if (watch < 0)
            return;
        directories[watch] = path;
        std::error_code gone;
        for (const auto& entry : std::filesystem::directory_iterator(path, gone))
            Add(entry.path(), entry.symlink_status(gone).type() == std::filesystem::file_type::directory);
    }
    void Take(const inotify_event& event)
    {
        if (event.len == 0 || !directories.contains(event.wd)) // of a directory that is no longer watched
            return void(directories.erase(event.wd));
        const std::string path = directories[event.wd] + '/' + event.name;
        if (event.mask & (IN_CREATE | IN_MOVED_TO))
            return Add(path, event.mask & IN_ISDIR);
        events.push_back({event.mask & IN_MODIFY ? CHANGED : GONE, Kiv::WideFromNarrow(path), 0});
        if (event.mask & IN_MOVED_FROM) // the watches go with what moves, but are no longer listened to
            std::erase_if(directories, [&](const auto& watch) { return (watch.second + '/').starts_with(path + '/'); });
    }
};

void Watch(const std::string& directory, const std::function<bool(const Events&)>& take)
{
    Watches watches;
    watches.Add(directory, true);
    if (watches.directories.empty())
        throw std::system_error(errno, std::generic_category(), directory);
    watches.events.resize(1); // what was there before has not just appeared
    while (watches.events.empty() || take(std::exchange(watches.events, {}))) {
        if (watches.directories.empty())
            throw std::system_error(ENOENT, std::generic_category(), directory);
        alignas(inotify_event) char buffer[65536];
        const ssize_t length = ::read(watches.notifications, buffer, sizeof buffer);
        if (length < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), directory);
        for (ssize_t at = 0; at < length;) {
            const auto& event = *reinterpret_cast<const inotify_event*>(buffer + at);
            if (event.mask & IN_Q_OVERFLOW)
                take({});
            watches.Take(event);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
}
