// The input is a program of fetches over a stream that it describes too; the tokenizer must agree with a plain model
// after each step.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ParserModel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string difference = parser_test::RunProgram({reinterpret_cast<const char*>(data), size});
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
    return 0;
}
