#include "WalkCommand.h"

#include <algorithm>
#include <ostream>

#include <KivBase/Handle.h>
#include <KivFile/DirectoryWalker.h>
#include <KivThread/ThreadException.h>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Text.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using Path = KivFile::PathT<char>;

// Prints each file and ends the walk when nobody takes the output any more.
class Printer : public KivFile::DirectoryWalker::Handler
{
public:
    Printer(bool json, std::ostream& out) : m_json(json), m_out(out) {}

    bool HandleFile(const Path& file) override
    {
        const std::string name = KivSys::PathForUser(file.FullPath());
        m_out << (m_json ? Object(name, file) : PrintableFileName(name)) << '\n';
        m_count += 1;
        return m_out.good();
    }

    std::size_t Count() const { return m_count; }

private:
    // The list knows neither the date nor all of a large size, so the file is asked.
    static std::string Object(const std::string& name, Path file)
    {
        file.ClearAttributes();
        const nlohmann::ordered_json object = {
            {"file", JsonFileName(name)}, {"size", file.Size()}, {"date", file.GetLastModificationDate().ToString()}};
        return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }

    bool m_json;
    std::ostream& m_out;
    std::size_t m_count = 0;
};

constexpr const char* WILDCARDS = "*?";

// The filter for the names as the house shows them: all that is not a wildcard is as the user wrote it. Without
// wildcards it is a name. Otherwise dots and blanks are left as they are also where they end a piece, as that is not
// where the name ends, and "*." means the names without an extension.
std::string HouseFilter(const std::string& filter)
{
    if (filter.find_first_of(WILDCARDS) == filter.npos)
        return KivSys::PathFromUser(filter);
    constexpr char guard = 'x';
    std::string result;
    for (std::size_t begin = 0; begin <= filter.size();) {
        const std::size_t end = std::min(filter.find_first_of(WILDCARDS, begin), filter.size());
        result += KivSys::PathFromUser(filter.substr(begin, end - begin) + guard);
        result.pop_back();
        result.append(filter, end, 1);
        begin = end + 1;
    }
    return result;
}

// The walk takes one that it may not list for an empty one.
void CheckListable(const Path& directory)
{
    const std::string everything = directory.Directory() + '*';
    KivSys::FindDataA found;
    const Kiv::FindHandle search(KivSys::FindFirstFileA(everything.c_str(), &found, KivSys::FindBasicInfo));
    if (!search.IsValid() && KivSys::GetLastError() != KivSys::ErrorFileNotFound)
        KivThread::ThrowLastError();
}

void Walk(const WalkOptions& options, std::ostream& out)
{
    const Path directory(KivSys::PathFromUser(options.directory));
    if (options.directory.empty() || !directory.IsDirectory())
        throw ToolError{"no such directory"};
    CheckListable(directory);
    const auto printer = Kiv::MakeShared<Printer>(options.json, out);
    KivFile::DirectoryWalker walker;
    walker.AddHandler(printer);
    walker.Walk(directory, HouseFilter(options.filter), options.recursive,
                options.resumeAfter.empty() ? "" : KivSys::PathFromUser(options.resumeAfter));
    if (!options.resumeAfter.empty() && printer->Count() == 0)
        throw ToolError{PrintableFileName(options.resumeAfter) + " has not been met"};
}

} // namespace

// What is a separator on this system stays one in the house.
bool HoldsSeparator(const std::string& filter)
{
    return HouseFilter(filter).find_first_of("\\/") != filter.npos;
}

int PrintWalk(const WalkOptions& options, const Console& console)
{
    Failure failure;
    if (Attempt(failure, [&] { Walk(options, console.out); }))
        return AllWell;
    if (!options.quiet)
        console.err << "kivfile: " << PrintableFileName(options.directory) << ": " << failure.message << '\n';
    return SomethingFailed;
}

} // namespace KivTool
