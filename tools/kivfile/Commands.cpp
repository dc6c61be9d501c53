#include "Commands.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include <CLI/CLI.hpp>

#include "DocumentCommands.h"
#include "Failure.h"
#include "Listing.h"
#include "Properties.h"

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
    }

    int Run(std::vector<std::string> arguments)
    {
        std::ranges::reverse(arguments); // the parser takes them from the back
        try {
            m_app.parse(arguments);
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
        m_console.err << "kivfile: " << error.what() << "\nkivfile: try --help\n";
        return WrongCall;
    }

    CLI::App* AddCommand(const char* name, const char* example, const char* help, std::function<int()> action)
    {
        CLI::App* command = m_app.add_subcommand(name, help);
        command->footer(example);
        command->callback([this, action = std::move(action)] { m_action = action; });
        return command;
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
        const auto uses = std::ranges::count(m_properties.files, "-") + (m_properties.filesFrom == "-" ? 1 : 0);
        if (uses > 1)
            throw CLI::ValidationError("-", "standard input can be read only once");
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
        command->add_option("DIR", m_extract.directory, "Where to write; made when missing")->required();
    }

    void AddFile(CLI::App* command)
    {
        command->add_option("FILE", m_file, "A compound document; - is standard input")->required();
    }

    const Console& m_console;
    CLI::App m_app{"Reads compound documents: their properties, storages and streams.", "kivfile"};
    std::function<int()> m_action;
    bool m_quiet = false;
    bool m_json = false;
    std::string m_file;
    std::string m_stream;
    PropertiesOptions m_properties;
    ExtractOptions m_extract;
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
