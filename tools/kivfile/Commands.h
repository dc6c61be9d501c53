// The kivfile command line.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace KivTool
{

// Where a command reads and writes. Data goes to out; messages, and the progress bar where there is a terminal, to err.
struct Console {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false;
    bool outIsTerminal = false;
};

enum ExitCode {
    AllWell = 0,
    SomethingFailed = 1, // an input failed, or the thing asked for is not there
    WrongCall = 2,
};

// Runs one command line (without the program's name) and returns its exit code. Throws nothing.
int Run(const std::vector<std::string>& arguments, const Console& console);

} // namespace KivTool
