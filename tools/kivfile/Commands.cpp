#include "Commands.h"

#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>

#include <CLI/CLI.hpp>

#include "ConfigCommands.h"
#include "DocumentCommands.h"
#include "Failure.h"
#include "Listing.h"
#include "PathCommand.h"
#include "Properties.h"
#include "RemoveCommand.h"
#include "SpaceCommand.h"
#include "StringsCommands.h"
#include "Text.h"
#include "WalkCommand.h"

namespace KivTool
{
namespace
{

// Help that begins with an example, which is kept in the footer.
class ExampleFirst : public CLI::Formatter
{
public:
    std::string make_description(const CLI::App* app) const override
    {
        return "Example: " + app->get_footer() + "\n\n" + app->get_description() + "\n\n";
    }
    std::string make_footer(const CLI::App*) const override { return ""; }
};

// ---- Arguments that the parser must not see as they are ------------------------------------------------------

// The parser takes from behind "--" what it has no operand left for as options again, ends a command at "++", and takes
// what stands in brackets apart at its commas. No argument of a program holds a zero byte, so one in front hides them
// until they are given to their operand.
constexpr char HIDDEN = '\0';

bool IsMisread(const std::string& argument, bool isOperand)
{
    return (isOperand && argument.starts_with('-')) || argument == "++" ||
           (argument.starts_with('[') && argument.ends_with(']'));
}

std::vector<std::string> Hide(const std::vector<std::string>& arguments)
{
    std::vector<std::string> result;
    bool haveOptionsEnded = false;
    for (const std::string& argument : arguments) {
        if (!haveOptionsEnded && argument == "--")
            haveOptionsEnded = true;
        else
            result.push_back(IsMisread(argument, haveOptionsEnded) ? HIDDEN + argument : argument);
    }
    return result;
}

std::string Show(std::string argument)
{
    if (argument.starts_with(HIDDEN))
        argument.erase(0, 1);
    return argument;
}

void ShowInOptions(CLI::App& app)
{
    for (CLI::Option* option : app.get_options())
        option->transform(Show);
    for (CLI::App* command : app.get_subcommands({}))
        ShowInOptions(*command);
}

// ---- What operands must not be; empty when they may ------------------------------------------------------------

std::string RefuseEmpty(const std::string& name)
{
    return name.empty() ? "an empty name is no directory" : "";
}

std::string RefuseStandardInput(const std::string& name)
{
    return name == "-" ? "standard input cannot be edited" : "";
}

std::string RefuseSeparator(const std::string& filter)
{
    return HoldsSeparator(filter) ? "a filter is for names, which hold no separator" : "";
}

// The command line, and what it asked for once it has been parsed.
class CommandLine
{
public:
    explicit CommandLine(const Console& console) : m_console(console)
    {
        m_app.allow_windows_style_options(false); // names may begin with a slash on every system
        m_app.footer("kivfile props letter.doc");
        m_app.formatter(std::make_shared<ExampleFirst>());
        m_app.set_version_flag("--version", "kivfile " KIVFILE_VERSION);
        m_app.add_flag("--quiet", m_quiet, "Print no messages and no progress on standard error");
        m_app.require_subcommand(1);
        m_app.fallthrough();
        AddProps();
        AddLs();
        AddCat();
        AddExtract();
        AddWalk();
        AddRm();
        AddSpace();
        AddPath();
        AddConfig();
        AddStrings();
        ShowInOptions(m_app);
    }

    int Run(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> hidden = Hide(arguments);
        std::ranges::reverse(hidden); // the parser takes them from the back
        try {
            m_app.parse(hidden);
            return m_action();
        } catch (const CLI::ParseError& error) {
            return Explain(error);
        }
    }

private:
    int Explain(const CLI::ParseError& error)
    {
        if (error.get_exit_code() == 0) {
            m_app.exit(error, m_console.out, m_console.err);
            return AllWell;
        }
        m_console.err << "kivfile: " << PrintableFileName(Complaint(error)) << "\nkivfile: try --help\n";
        return WrongCall;
    }

    // An argument that nobody took explains more than what is missing in its place.
    std::string Complaint(const CLI::ParseError& error) const
    {
        const std::vector<std::string> strays = m_app.remaining(true);
        if (strays.empty())
            return error.what();
        const std::string& stray = strays.front();
        if (stray.size() > 1 && stray.starts_with('-'))
            return "unknown option: " + stray;
        return (IsCommandMissing() ? "unknown command: " : "unexpected argument: ") + Show(stray);
    }

    bool IsCommandMissing() const
    {
        const CLI::App* app = &m_app;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return app->get_require_subcommand_min() > 0;
    }

    static void CheckStandardInput(std::ptrdiff_t uses)
    {
        if (uses > 1)
            throw CLI::ValidationError("-", "standard input can be read only once");
    }

    CLI::App* AddCommand(const char* name, const char* example, const char* help, std::function<int()> action)
    {
        return AddCommand(m_app, name, example, help, std::move(action));
    }

    CLI::App* AddCommand(CLI::App& to, const char* name, const char* example, const char* help,
                         std::function<int()> action)
    {
        CLI::App* command = to.add_subcommand(name, help);
        command->footer(example);
        command->callback([this, action = std::move(action)] { m_action = action; });
        return command;
    }

    // A command that is followed by the name of what it shall do.
    CLI::App& AddFamily(const char* name, const char* example, const char* help)
    {
        CLI::App* family = m_app.add_subcommand(name, help);
        family->footer(example);
        family->require_subcommand(1);
        return *family;
    }

    void AddProps()
    {
        CLI::App* command =
            AddCommand("props", "kivfile props letter.doc budget.xls",
                       "Prints every property of each document: the well-known ones, then the named ones.", [this] {
                           CheckPropsInputs();
                           m_properties.quiet = m_quiet;
                           return PrintProperties(m_properties, m_console);
                       });
        command->add_flag("--json", m_properties.json, "Print one JSON object a line");
        command->add_option("--jobs", m_properties.jobs, "Work on N documents at once")
            ->type_name("N")
            ->check(CLI::Range(1u, 1024u));
        command->add_option("--files-from", m_properties.filesFrom, "Read further file names, one a line, from LIST")
            ->type_name("LIST");
        command->add_option("FILE", m_properties.files, "Compound documents; - is standard input");
    }

    void CheckPropsInputs() const
    {
        if (m_properties.files.empty() && m_properties.filesFrom.empty())
            throw CLI::RequiredError("FILE");
        CheckStandardInput(std::ranges::count(m_properties.files, "-") + (m_properties.filesFrom == "-" ? 1 : 0));
    }

    void AddLs()
    {
        CLI::App* command =
            AddCommand("ls", "kivfile ls letter.doc",
                       "Prints the tree of storages and streams: id, size and path of each. In a path, %2F "
                       "stands for a slash inside a name.",
                       [this] { return List(m_file, m_json, m_quiet, m_console); });
        command->add_flag("--json", m_json, "Print one JSON object");
        AddFile(command);
    }

    void AddCat()
    {
        CLI::App* command = AddCommand("cat", "kivfile cat letter.doc WordDocument > word.bin",
                                       "Writes the bytes of one stream to standard output.",
                                       [this] { return PrintStream(m_file, m_stream, m_quiet, m_console); });
        AddFile(command);
        command->add_option("STREAM", m_stream, "The stream's path, as ls prints it")->required();
    }

    void AddExtract()
    {
        CLI::App* command =
            AddCommand("extract", "kivfile extract letter.doc parts",
                       "Writes every stream into files below a directory. Characters that a file name cannot "
                       "hold are percent-encoded.",
                       [this] {
                           m_extract.file = m_file;
                           m_extract.quiet = m_quiet;
                           return Extract(m_extract, m_console);
                       });
        command->add_flag("--force", m_extract.force, "Replace files that exist");
        AddFile(command);
        command->add_option("DIR", m_extract.directory, "Where to write; made when missing")
            ->required()
            ->check(RefuseEmpty);
    }

    void AddWalk()
    {
        CLI::App* command = AddCommand("walk", "kivfile walk --recursive --filter \"*.doc\" .",
                                       "Prints the files of a directory, each as soon as it is found: first its own, "
                                       "then those of its sub-directories. Links to directories are not entered, and "
                                       "sub-directories that may not be read are passed over silently.",
                                       [this] {
                                           m_walk.json = m_json;
                                           m_walk.quiet = m_quiet;
                                           return PrintWalk(m_walk, m_console);
                                       });
        command->add_option("--filter", m_walk.filter, "Print files with matching names only; * and ? are wildcards")
            ->type_name("F")
            ->default_str("*.*")
            ->check(RefuseSeparator);
        command->add_flag("--recursive", m_walk.recursive, "Walk the sub-directories, too");
        command
            ->add_option("--resume-after", m_walk.resumeAfter,
                         "Begin with this file, as an earlier walk printed it, if without escapes such as \\x1B")
            ->type_name("PATH");
        command->add_flag("--json", m_json, "Print one JSON object a line");
        command->add_option("DIR", m_walk.directory, "Where to begin")->required();
    }

    void AddRm()
    {
        CLI::App* command = AddCommand("rm", "kivfile rm --force build",
                                       "Deletes each path with all that is below it, without asking. A link is deleted "
                                       "itself; what it leads to stays.",
                                       [this] {
                                           m_remove.quiet = m_quiet;
                                           return Remove(m_remove, m_console);
                                       });
        command->add_flag("--force", m_remove.force, "Delete read-only files, too");
        command->add_option("PATH", m_remove.paths, "Files and directories")->required();
    }

    void AddSpace()
    {
        CLI::App* command =
            AddCommand("space", "kivfile space /var=5G /home=500M",
                       "Prints for each directory whether it is short of room, the bytes that are available to the "
                       "user, and those that it needs. The exit code is 1 when one is short or is no directory.",
                       [this] {
                           ReadNeeds();
                           m_space.json = m_json;
                           m_space.quiet = m_quiet;
                           return PrintSpace(m_space, m_console);
                       });
        command->add_flag("--json", m_json, "Print one JSON object a line");
        command
            ->add_option("--watch", m_space.watchSeconds,
                         "Report again every SECONDS seconds, until Ctrl-C; the exit code is that of the last report")
            ->type_name("SECONDS")
            ->check(CLI::Range(1u, std::numeric_limits<unsigned int>::max()));
        command->add_option("DIR", m_needs, "A directory and what it needs; K, M, G and T are powers of 1024")
            ->type_name("DIR=BYTES")
            ->required();
    }

    void ReadNeeds()
    {
        for (const std::string& text : m_needs) {
            try {
                m_space.needs.push_back(ParseNeed(text));
            } catch (const ToolError& error) {
                throw CLI::ValidationError(text, error.message);
            }
        }
    }

    void AddPath()
    {
        CLI::App* command = AddCommand("path", "kivfile path \"C:/reports/../letter.doc\"",
                                       "Prints what each text is as a path of the library, in which backslashes and "
                                       "slashes separate names, and what the file system says of it.",
                                       [this] {
                                           m_path.json = m_json;
                                           return PrintPaths(m_path, m_console);
                                       });
        command->add_flag("--json", m_json, "Print one JSON object a line");
        command->add_option("TEXT", m_path.texts, "Texts of paths")->required();
    }

    void AddConfig()
    {
        CLI::App& family =
            AddFamily("config", "kivfile config get app.ini Window Title",
                      "Reads a settings file, or edits it in place: comments and order stay, empty lines do not.");
        CLI::App* get = AddConfigCommand(family, GetSetting, "get", "kivfile config get app.ini Window Title",
                                         "Prints the value of a key, a line for each of its lines.");
        CLI::App* set =
            AddConfigCommand(family, SetSetting, "set", "kivfile config set app.ini Window Title \"My App\"",
                             "Gives a key a value. File, section and key are made when missing.");
        set->add_option("VALUE", m_config.value, "The value; -- in front lets it begin with a dash")->required();
        CLI::App* unset = AddConfigCommand(family, UnsetSetting, "unset", "kivfile config unset app.ini Window Title",
                                           "Removes a key, or a whole section.");
        unset->get_option("KEY")->required(false);
        CLI::App* list = AddConfigCommand(family, ListSettings, "list", "kivfile config list app.ini",
                                          "Prints all sections with their keys, or one of them.");
        list->remove_option(list->get_option("KEY"));
        list->get_option("SECTION")->required(false);
        list->add_flag("--json", m_config.json, "Print one JSON object");
        for (CLI::App* read : {get, list})
            read->get_option("FILE")->description("A settings file; - is standard input");
        for (CLI::App* edit : {set, unset}) {
            edit->get_option("FILE")->check(RefuseStandardInput);
            edit->add_flag("--dry-run", m_config.dryRun, "Change nothing; print what would change");
        }
    }

    CLI::App* AddConfigCommand(CLI::App& family, int (*action)(const ConfigOptions&, const Console&), const char* name,
                               const char* example, const char* help)
    {
        CLI::App* command = AddCommand(family, name, example, help, [this, action] {
            m_config.quiet = m_quiet;
            return action(m_config, m_console);
        });
        command->add_option("FILE", m_config.file, "A settings file")->required();
        command->add_option("SECTION", m_config.section, "The section's name")->required();
        command->add_option("KEY", m_config.key, "The key")->required();
        return command;
    }

    void AddStrings()
    {
        CLI::App& family = AddFamily("strings", "kivfile strings add seen.txt first second",
                                     "Reads or edits a file that holds a set of strings, one a line, in order.");
        AddStringsCommand(family, "list", "kivfile strings list seen.txt", "Prints the strings in order.",
                          [this] { return ListStrings(m_strings, m_console); })
            ->get_option("FILE")
            ->description("A file of strings; - is standard input");
        AddStringsEdit(family, StringsEdit::Add, "add", "kivfile strings add seen.txt first second",
                       "Adds strings. The file is made when missing.");
        AddStringsEdit(family, StringsEdit::Remove, "remove", "kivfile strings remove seen.txt first",
                       "Removes strings.");
        AddStringsEdit(family, StringsEdit::Union, "union", "kivfile strings union seen.txt more.txt",
                       "Adds all strings of other files.");
        AddStringsEdit(family, StringsEdit::Minus, "minus", "kivfile strings minus seen.txt done.txt",
                       "Removes all strings of other files.");
    }

    CLI::App* AddStringsCommand(CLI::App& family, const char* name, const char* example, const char* help,
                                std::function<int()> action)
    {
        CLI::App* command = AddCommand(family, name, example, help, [this, action = std::move(action)] {
            m_strings.quiet = m_quiet;
            return action();
        });
        command->add_option("FILE", m_strings.file, "A file of strings")->required();
        return command;
    }

    void AddStringsEdit(CLI::App& family, StringsEdit edit, const char* name, const char* example, const char* help)
    {
        const bool takesFiles = edit == StringsEdit::Union || edit == StringsEdit::Minus;
        CLI::App* command = AddStringsCommand(family, name, example, help, [this, edit, takesFiles] {
            if (takesFiles)
                CheckStandardInput(std::ranges::count(m_strings.operands, "-"));
            return EditStrings(edit, m_strings, m_console);
        });
        command->get_option("FILE")->check(RefuseStandardInput);
        if (takesFiles)
            command->add_option("OTHER", m_strings.operands, "Files of strings; - is standard input")->required();
        else
            command->add_option("STRING", m_strings.operands, "Strings")->required();
    }

    void AddFile(CLI::App* command)
    {
        command->add_option("FILE", m_file, "A compound document; - is standard input")->required();
    }

    const Console& m_console;
    CLI::App m_app{"Looks into compound documents, reads and edits settings files and sets of strings, and walks, "
                   "deletes and measures directories.",
                   "kivfile"};
    std::function<int()> m_action;
    bool m_quiet = false;
    bool m_json = false;
    std::string m_file;
    std::string m_stream;
    std::vector<std::string> m_needs;
    PropertiesOptions m_properties;
    ExtractOptions m_extract;
    WalkOptions m_walk;
    RemoveOptions m_remove;
    SpaceOptions m_space;
    PathOptions m_path;
    ConfigOptions m_config;
    StringsOptions m_strings;
};

} // namespace

int Run(const std::vector<std::string>& arguments, const Console& console)
{
    Failure failure;
    int code = SomethingFailed;
    if (!Attempt(failure, [&] { code = CommandLine(console).Run(arguments); }))
        console.err << "kivfile: " << failure.message << '\n';
    return code;
}

} // namespace KivTool
