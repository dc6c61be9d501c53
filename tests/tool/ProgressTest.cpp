// What a terminal shows of work that takes long.
#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "tools/kivfile/Commands.h"

namespace
{

// Takes longer than a second for what it is given first.
class SlowOutput : public std::stringbuf
{
protected:
    std::streamsize xsputn(const char* bytes, std::streamsize n) override
    {
        if (!std::exchange(m_hasBegun, true))
            std::this_thread::sleep_for(std::chrono::milliseconds(1050));
        return std::stringbuf::xsputn(bytes, n);
    }

private:
    bool m_hasBegun = false;
};

TEST(Progress, CatShowsABarOnATerminalAndTakesItAwayUnlessItIsQuiet)
{
    for (const bool isQuiet : {false, true}) {
        SlowOutput slow;
        std::istringstream in;
        std::ostream out(&slow);
        std::ostringstream err;
        const std::string option = isQuiet ? "--quiet" : "--";
        EXPECT_EQ(KivTool::Run({"cat", option, KIV_SAMPLES "/latin.doc", "WordDocument"}, {in, out, err, true}), 0);
        EXPECT_EQ(err.str().starts_with("\r[#"), !isQuiet) << err.str();
        EXPECT_EQ(err.str().ends_with("/" + std::to_string(slow.str().size()) + "\r\x1B[K"), !isQuiet) << err.str();
    }
}

} // namespace
