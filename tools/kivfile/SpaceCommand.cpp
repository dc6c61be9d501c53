#include "SpaceCommand.h"

#include <algorithm>
#include <charconv>
#include <iomanip>
#include <limits>
#include <ostream>
#include <string_view>

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

constexpr std::uint64_t MOST_BYTES = std::numeric_limits<std::uint64_t>::max();

[[noreturn]] void ThrowNoNeed()
{
    throw ToolError{"not of the form DIR=BYTES, such as /var=500M"};
}

// The power of 2 that a unit stands for; none is that of a byte.
unsigned ShiftOf(std::string_view unit)
{
    constexpr std::string_view UNITS = "KkMmGgTt";
    constexpr unsigned BITS_OF_1024 = 10;
    if (unit.empty())
        return 0;
    const std::size_t index = UNITS.find(unit);
    if (index == UNITS.npos || unit.size() != 1)
        ThrowNoNeed();
    return static_cast<unsigned>(index / 2 + 1) * BITS_OF_1024;
}

std::uint64_t ParseBytes(std::string_view text)
{
    const char* const end = text.data() + text.size();
    std::uint64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::invalid_argument)
        ThrowNoNeed();
    const unsigned shift = ShiftOf({rest, end});
    if (error == std::errc::result_out_of_range || number > MOST_BYTES >> shift)
        throw ToolError{"too large: 18446744073709551615 bytes are the most"};
    return number << shift;
}

std::uint64_t AvailableIn(const Need& need)
{
    const KivFile::PathT<char> path(need.directory);
    if (!path.IsDirectory())
        throw ToolError{"no such directory"};
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

// Prints one report and returns its exit code.
int Report(const SpaceOptions& options, const Console& console)
{
    int code = AllWell;
    for (const Need& need : options.needs) {
        Failure failure;
        std::uint64_t available = 0;
        const bool isKnown = Attempt(failure, [&] { available = AvailableIn(need); });
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

// What the user ends a watch with.
class Interrupt
{
public:
    Interrupt() : m_event(KivSys::CreateInterruptEvent())
    {
        if (m_event == nullptr)
            KivThread::ThrowLastError();
    }
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt() { KivSys::CloseInterruptEvent(m_event); }

    // Whether it came before the time had passed. One wait of the system is 49 days at most.
    bool ComesWithin(std::uint32_t seconds) const
    {
        constexpr std::uint64_t LONGEST = KivSys::Infinite - 1;
        for (std::uint64_t left = std::uint64_t{seconds} * 1000; left > 0; left -= std::min(left, LONGEST)) {
            const auto wait = static_cast<KivSys::DWORD>(std::min(left, LONGEST));
            if (KivSys::WaitForSingleObject(m_event, wait) != KivSys::WaitTimeout)
                return true;
        }
        return false;
    }

private:
    KivSys::HANDLE m_event;
};

// Reports until the user ends it or nobody reads.
int Watch(const SpaceOptions& options, const Console& console)
{
    const Interrupt interrupt;
    int code = Report(options, console);
    while (console.out && !interrupt.ComesWithin(options.watchSeconds)) {
        if (!options.json)
            console.out << '\n';
        code = Report(options, console);
    }
    return code;
}

} // namespace

Need ParseNeed(const std::string& text)
{
    const std::size_t divide = text.rfind('=');
    if (divide == text.npos || divide == 0)
        ThrowNoNeed();
    const std::string name = text.substr(0, divide);
    return {name, KivSys::PathFromUser(name), ParseBytes(std::string_view(text).substr(divide + 1))};
}

int PrintSpace(const SpaceOptions& options, const Console& console)
{
    return options.watchSeconds == 0 ? Report(options, console) : Watch(options, console);
}

} // namespace KivTool
