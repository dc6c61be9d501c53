#include "SpaceCommand.h"

#include <charconv>
#include <functional>
#include <iomanip>
#include <limits>
#include <ostream>
#include <string_view>
#include <utility>

#include <KivFile/DiskSpaceWatcher.h>
#include <KivFile/Path.h>
#include <KivThread/ThreadException.h>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Text.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using Json = nlohmann::ordered_json;
using Notifications = std::vector<KivFile::DiskSpaceWatcherNotification>;

constexpr std::uint64_t MOST_BYTES = std::numeric_limits<std::uint64_t>::max();

std::optional<std::uint64_t> ParseBytes(std::string_view text)
{
    constexpr std::string_view UNITS = "KkMmGgTt";
    constexpr unsigned BITS_OF_1024 = 10;
    const char* const end = text.data() + text.size();
    std::uint64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc())
        return std::nullopt;
    if (rest == end)
        return number;
    const std::size_t unit = UNITS.find(*rest);
    const auto shift = static_cast<unsigned>(unit / 2 + 1) * BITS_OF_1024;
    if (unit == UNITS.npos || rest + 1 != end || number > MOST_BYTES >> shift)
        return std::nullopt;
    return number << shift;
}

[[noreturn]] void ThrowNoDirectory()
{
    throw ToolError{"no such directory"};
}

std::uint64_t AvailableIn(const Need& need)
{
    const KivFile::PathT<char> path(need.directory);
    if (!path.IsDirectory())
        ThrowNoDirectory();
    // 0 is also what the path has for a question that failed; the system's answer to it says why.
    std::uint64_t available = path.GetAvailableDiskSpace();
    if (available == 0 && !KivSys::GetDiskFreeSpaceExA(path.Directory().c_str(), &available))
        KivThread::ThrowLastError();
    return available;
}

void PrintText(const Need& need, std::uint64_t available, std::ostream& out)
{
    constexpr int WIDTH = 15;
    out << std::left << std::setw(5) << (available < need.required ? "short" : "ok") << std::right << ' '
        << std::setw(WIDTH) << available << ' ' << std::setw(WIDTH) << need.required << "  "
        << PrintableFileName(need.name) << '\n';
}

Json Describe(const Need& need, std::uint64_t available)
{
    return {{"directory", JsonFileName(need.name)},
            {"available", available},
            {"required", need.required},
            {"short", available < need.required}};
}

Json Describe(const Need& need, const Failure& failure)
{
    return {{"directory", JsonFileName(need.name)},
            {"required", need.required},
            {"error", {{"class", failure.className}, {"message", failure.message}}}};
}

void PrintJson(const Json& object, std::ostream& out)
{
    out << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

// Prints one report and returns its exit code. ask yields the bytes available for a need, or throws.
int Report(const SpaceOptions& options, const Console& console, const std::function<std::uint64_t(const Need&)>& ask)
{
    int code = AllWell;
    for (const Need& need : options.needs) {
        Failure failure;
        std::uint64_t available = 0;
        const bool isKnown = Attempt(failure, [&] { available = ask(need); });
        if (!isKnown || available < need.required)
            code = SomethingFailed;
        if (options.json)
            PrintJson(isKnown ? Describe(need, available) : Describe(need, failure), console.out);
        else if (isKnown)
            PrintText(need, available, console.out);
        if (!isKnown && !options.quiet)
            console.err << "kivfile: " << PrintableFileName(need.name) << ": " << failure.message << '\n';
    }
    console.out.flush();
    return code;
}

// ---- Watching -----------------------------------------------------------------------------------------------

// What ends the watch: the user, or the watch itself.
class EndOfWatch
{
public:
    EndOfWatch() : m_event(KivSys::CreateInterruptEvent())
    {
        if (m_event == nullptr)
            KivThread::ThrowLastError();
    }
    EndOfWatch(const EndOfWatch&) = delete;
    EndOfWatch& operator=(const EndOfWatch&) = delete;
    ~EndOfWatch() { KivSys::CloseInterruptEvent(m_event); }

    void Signal() const { KivSys::SetEvent(m_event); }
    void Wait() const { KivSys::WaitForSingleObject(m_event, KivSys::Infinite); }

private:
    KivSys::HANDLE m_event;
};

// A look that has begun sees nothing of directories that are added, and the next one comes late.
void LookAtOnce(KivFile::DiskSpaceWatcher& watcher)
{
    watcher.Pause();
    watcher.Resume();
}

// The watcher tells of shortages only. It is asked for more than any disk has, so that it tells of every directory that
// is there.
void AddDirectories(KivFile::DiskSpaceWatcher& watcher, const std::vector<Need>& needs)
{
    for (const Need& need : needs)
        watcher.AddWatchedPath(need.directory, MOST_BYTES);
    LookAtOnce(watcher);
}

// found: of the current directory, and of the needs' directories that are there, in their order.
int ReportOf(const Notifications& found, const SpaceOptions& options, const Console& console)
{
    auto next = found.begin() + 1;
    return Report(options, console, [&](const Need& need) {
        if (next == found.end() || next->Path() != need.directory)
            ThrowNoDirectory();
        return (next++)->Available();
    });
}

int Watch(const SpaceOptions& options, const Console& console)
{
    const EndOfWatch end;
    int code = AllWell;
    const char* separator = "";
    bool isBegun = false;
    {
        // The current directory is always there: it gives every look something to tell. The others are added when the
        // watcher tells of it, because no look is being taken then that would find some of them only.
        Kiv::SmartPtr<KivFile::DiskSpaceWatcher> watcher;
        const auto take = KivThread::MakeFunction([&](void* list) {
            if (!std::exchange(isBegun, true))
                return AddDirectories(*watcher, options.needs);
            console.out << std::exchange(separator, options.json ? "" : "\n");
            code = ReportOf(*static_cast<const Notifications*>(list), options, console);
            if (!console.out)
                end.Signal();
        });
        watcher = Kiv::MakeShared<KivFile::DiskSpaceWatcher>(take, options.watchSeconds);
        watcher->AddWatchedPath(".", MOST_BYTES);
        LookAtOnce(*watcher);
        end.Wait();
    } // a report that is being printed comes to its end
    return code;
}

} // namespace

std::optional<Need> ParseNeed(const std::string& text)
{
    const std::size_t divide = text.rfind('=');
    if (divide == text.npos || divide == 0)
        return std::nullopt;
    const std::string name = text.substr(0, divide);
    const std::optional<std::uint64_t> required = ParseBytes(std::string_view(text).substr(divide + 1));
    return required ? std::optional(Need{name, KivSys::PathFromUser(name), *required}) : std::nullopt;
}

int PrintSpace(const SpaceOptions& options, const Console& console)
{
    return options.watchSeconds == 0 ? Report(options, console, AvailableIn) : Watch(options, console);
}

} // namespace KivTool
