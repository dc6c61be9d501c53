#include "StringsCommands.h"

#include <functional>
#include <ostream>

#include <KivFile/PersistentStringSet.h>

#include "EditedFile.h"
#include "Failure.h"
#include "Text.h"
#include "platform/Platform.h"

namespace KivTool
{
namespace
{

using KivFile::PersistentStringSet;

// The set takes a file that cannot be read for an empty one; a command does not.
PersistentStringSet Read(const std::string& name)
{
    const std::string file = KivSys::PathFromUser(name);
    (void)ReadBytes(file);
    return PersistentStringSet(file);
}

void Add(PersistentStringSet& set, const std::string& string)
{
    if (string.empty() || string.find_first_of("\r\n") != string.npos)
        throw ToolError{"a string that is empty or holds a line end would not read back"};
    set.Set().insert(string);
}

// Returns the strings that were to be removed and were not there.
std::vector<std::string> Apply(StringsEdit edit, PersistentStringSet& set, const std::vector<std::string>& operands)
{
    std::vector<std::string> missing;
    for (const std::string& operand : operands) {
        switch (edit) {
        case StringsEdit::Add:
            Add(set, operand);
            break;
        case StringsEdit::Remove:
            if (set.Set().erase(operand) == 0)
                missing.push_back(operand);
            break;
        case StringsEdit::Union:
            set += Read(operand);
            break;
        case StringsEdit::Minus:
            set -= Read(operand);
            break;
        }
    }
    return missing;
}

void ThrowMissing(const std::vector<std::string>& missing)
{
    std::string names;
    for (const std::string& string : missing)
        names += ' ' + PrintableFileName(string);
    throw ToolError{"no such string:" + names};
}

// A set that stays the same leaves the file alone: its size says so, as no edit both adds and removes. An empty one
// leaves a new file as it is made: empty.
int Edit(StringsEdit edit, const StringsOptions& options)
{
    EditedFile file(options.file);
    PersistentStringSet set;
    if (file.Exists() || edit != StringsEdit::Add)
        set = Read(options.file);
    const std::size_t before = set.Set().size();
    const std::vector<std::string> missing = Apply(edit, set, options.operands);
    if (!file.Exists() || set.Set().size() != before) {
        set.Save(file.WorkFile());
        file.Commit();
    }
    if (!missing.empty())
        ThrowMissing(missing);
    return AllWell;
}

int Run(const StringsOptions& options, const Console& console, const std::function<int()>& action)
{
    Failure failure;
    int code = SomethingFailed;
    if (!Attempt(failure, [&] { code = action(); }) && !options.quiet)
        console.err << "kivfile: " << PrintableFileName(options.file) << ": " << failure.message << '\n';
    return code;
}

} // namespace

int ListStrings(const StringsOptions& options, const Console& console)
{
    return Run(options, console, [&] {
        PersistentStringSet set = Read(options.file);
        for (const std::string& string : set.Set())
            console.out << PrintableFileName(string) << '\n';
        return AllWell;
    });
}

int EditStrings(StringsEdit edit, const StringsOptions& options, const Console& console)
{
    return Run(options, console, [&] { return Edit(edit, options); });
}

} // namespace KivTool
