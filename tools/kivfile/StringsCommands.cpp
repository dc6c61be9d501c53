#include "StringsCommands.h"

#include <functional>
#include <ostream>
#include <string_view>

#include <KivFile/PersistentStringSet.h>

#include "EditedFile.h"
#include "Failure.h"
#include "InputText.h"
#include "Text.h"

namespace KivTool
{
namespace
{

using KivFile::PersistentStringSet;

// The set that a file with these bytes holds. The set itself would open the file again, which a pipe does not bear, and
// take one that cannot be read for an empty one.
PersistentStringSet SetOf(std::string_view bytes)
{
    if (bytes.find('\0') != bytes.npos)
        throw ToolError{"is no text: it holds a zero byte"};
    PersistentStringSet set;
    set.LoadText(TextOf(bytes));
    return set;
}

void Add(PersistentStringSet& set, const std::string& string)
{
    if (string.empty() || string.find_first_of("\r\n") != string.npos)
        throw ToolError{"a string that is empty or holds a line end would not read back"};
    set.Set().insert(string);
}

// Returns the strings that were to be removed and were not there.
std::vector<std::string> Apply(StringsEdit edit, PersistentStringSet& set, const StringsOptions& options,
                               std::istream& in)
{
    std::vector<std::string> missing;
    for (const std::string& operand : options.operands) {
        switch (edit) {
        case StringsEdit::Add:
            Add(set, operand);
            break;
        case StringsEdit::Remove:
            if (set.Set().erase(operand) == 0)
                missing.push_back(operand);
            break;
        case StringsEdit::Union:
            set += SetOf(ReadInput(operand, in));
            break;
        case StringsEdit::Minus:
            set -= SetOf(ReadInput(operand, in));
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

// An empty set leaves the new file as it is made: empty.
void Replace(EditedFile& file, const PersistentStringSet& set)
{
    set.Save(file.WorkFile());
    if (HasMark(file.Content()))
        WriteBytes(file.WorkFile(), std::string(MARK) + ReadBytes(file.WorkFile()));
    file.Commit();
}

// A set that stays the same leaves the file alone: its size says so, as no edit both adds and removes.
int Edit(StringsEdit edit, const StringsOptions& options, std::istream& in)
{
    EditedFile file(options.file);
    if (!file.Exists() && edit != StringsEdit::Add)
        throw ToolError{"no such file"};
    PersistentStringSet set = SetOf(file.Content());
    const std::size_t before = set.Set().size();
    const std::vector<std::string> missing = Apply(edit, set, options, in);
    if (!file.Exists() || set.Set().size() != before)
        Replace(file, set);
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
        const PersistentStringSet set = SetOf(ReadInput(options.file, console.in));
        for (const std::string& string : set.Set())
            console.out << PrintableFileName(string) << '\n';
        return AllWell;
    });
}

int EditStrings(StringsEdit edit, const StringsOptions& options, const Console& console)
{
    return Run(options, console, [&] { return Edit(edit, options, console.in); });
}

} // namespace KivTool
