#include "WalkCommand.h"

#include <ostream>

#include <KivFile/DirectoryWalker.h>
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

void Walk(const WalkOptions& options, std::ostream& out)
{
    const Path directory(KivSys::PathFromUser(options.directory));
    if (options.directory.empty() || !directory.IsDirectory())
        throw ToolError{"no such directory"};
    const auto printer = Kiv::MakeShared<Printer>(options.json, out);
    KivFile::DirectoryWalker walker;
    walker.AddHandler(printer);
    walker.Walk(directory, options.filter, options.recursive,
                options.resumeAfter.empty() ? "" : KivSys::PathFromUser(options.resumeAfter));
    if (!options.resumeAfter.empty() && printer->Count() == 0)
        throw ToolError{PrintableFileName(options.resumeAfter) + " has not been met"};
}

} // namespace

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
