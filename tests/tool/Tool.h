// How the tests call the commands: as the program does.
#pragma once

#include <fstream>
#include <functional>
#include <iomanip>
#include <sstream>

#include <nlohmann/json.hpp>

#include <KivFile/Path.h>
#include <platform/Folder.h>

#include "tools/kivfile/Commands.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

const std::string SAMPLES = KIV_SAMPLES "/";

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

inline Outcome Call(const Arguments& arguments, const std::string& input = "",
                    std::stringbuf&& output = std::stringbuf(), bool errIsTerminal = false)
{
    std::istringstream in(input);
    std::ostream out(&output);
    std::ostringstream err;
    const int code = KivTool::Run(arguments, {in, out, err, errIsTerminal});
    return {code, output.str(), err.str()};
}

// The arguments of a call as a user types it.
inline Arguments Typed(const std::string& call)
{
    Arguments arguments;
    std::istringstream in(call);
    for (std::string argument; in >> std::quoted(argument);)
        arguments.push_back(argument);
    return arguments;
}

// Asks at the end of each report, by its number, whether anyone still listens.
class Reports : public std::stringbuf
{
public:
    explicit Reports(std::function<bool(int)> isHeard) : m_isHeard(std::move(isHeard)) {}

protected:
    int sync() override { return m_isHeard(++m_count) ? 0 : -1; }

private:
    std::function<bool(int)> m_isHeard;
    int m_count = 0;
};

inline std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// A folder of the test's own.
class Tool : public testing::Test
{
protected:
    // The name as a user writes it.
    std::string User(const std::string& name) const
    {
        return KivSys::PathForUser(KivFile::PathT<char>(m_folder / name).FullPath());
    }

    std::string Write(const std::string& name, const std::string& content) const
    {
        WriteText(m_folder / name, content);
        return User(name);
    }

    std::string Content(const std::string& name) const
    {
        std::ifstream in(User(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // How many entries the folder has: more than expected when a work file was left behind.
    std::ptrdiff_t Entries() const { return std::distance(fs::directory_iterator(User(".")), {}); }

    Folder m_folder;
};
