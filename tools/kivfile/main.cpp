#include <iostream>
#include <string>
#include <vector>

#include "Commands.h"
#include "platform/Platform.h"

int main(int count, char** arguments)
{
    KivSys::MakeStandardStreamsBinary();
    std::ios::sync_with_stdio(false);
    const KivTool::Console console{std::cin, std::cout, std::cerr, KivSys::StandardErrorIsTerminal(),
                                   KivSys::StandardOutputIsTerminal()};
    const int code = KivTool::Run({arguments + (count > 0 ? 1 : 0), arguments + count}, console);
    std::cout.flush();
    if (!std::cout) {
        std::cerr << "kivfile: standard output: cannot be written\n";
        return KivTool::SomethingFailed;
    }
    return code;
}
