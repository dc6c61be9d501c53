#include "RemoveCommand.h"

#include <filesystem>
#include <ostream>

#include <KivFile/Path.h>

#include "Failure.h"
#include "Text.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using Path = KivFile::PathT<char>;

// Whether the argument's last component is "." or "..", whatever separators follow.
bool EndsInDots(const std::string& argument)
{
    std::filesystem::path path(argument);
    if (!path.has_filename())
        path = path.parent_path();
    return path.filename() == "." || path.filename() == "..";
}

// An argument that is empty by accident, a root, and the current directory or a parent by those names are no trees to
// delete.
bool IsRefused(const std::string& argument, const Path& path)
{
    return argument.empty() || EndsInDots(argument) || Path::IsDotDirectory(path.FullPath()) ||
           path.FullPath() == path.Directory() || path.FullPath() + '\\' == path.Root();
}

void RemoveTree(const std::string& argument, bool force)
{
    Path path(KivSys::PathFromUser(argument));
    if (IsRefused(argument, path))
        throw ToolError{"is not deleted as a whole"};
    if (!path.Exists())
        throw ToolError{"no such file or directory"};
    path.RecursiveDelete(force);
    if (path.Exists())
        throw ToolError{"is read-only or offline"};
}

} // namespace

int Remove(const RemoveOptions& options, const Console& console)
{
    int code = AllWell;
    for (const std::string& argument : options.paths) {
        Failure failure;
        if (Attempt(failure, [&] { RemoveTree(argument, options.force); }))
            continue;
        code = SomethingFailed;
        if (!options.quiet)
            console.err << "kivfile: " << PrintableFileName(argument) << ": " << failure.message << '\n';
    }
    return code;
}

} // namespace KivTool
