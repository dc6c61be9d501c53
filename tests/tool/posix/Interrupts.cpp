// A watch that is told to end.
#include <csignal>

#include "../Tool.h"

namespace
{

TEST(Interrupts, EndAWatchWithTheExitCodeOfItsLastReport)
{
    const struct {
        int signal;
        std::string need;
        int code;
    } rows[] = {{SIGINT, ".=0", 0}, {SIGTERM, ".=16777215T", 1}};
    for (const auto& row : rows) {
        Reports output([&](int report) { return report != 2 || std::raise(row.signal) == 0; });
        const Outcome outcome = Call({"space", "--watch", "1", row.need}, "", std::move(output));
        EXPECT_EQ(outcome.code, row.code);
        EXPECT_EQ(outcome.err, "");
        EXPECT_NE(outcome.out.find("\n\n"), std::string::npos) << outcome.out;
    }
}

TEST(Interrupts, AreTakenOnceAndOnlyWhileSomeoneWaits)
{
    const auto handlerOf = [](int signal) {
        struct sigaction action;
        ::sigaction(signal, nullptr, &action);
        return action.sa_handler;
    };
    std::signal(SIGTERM, SIG_IGN); // as nohup does for another signal
    const KivSys::HANDLE event = KivSys::CreateInterruptEvent();
    EXPECT_EQ(KivSys::WaitForSingleObject(event, 20), KivSys::WaitTimeout);
    EXPECT_EQ(handlerOf(SIGTERM), SIG_IGN);
    std::raise(SIGINT);
    EXPECT_EQ(handlerOf(SIGINT), SIG_DFL) << "the next one ends a program that hangs";
    EXPECT_EQ(KivSys::WaitForSingleObject(event, 1000), KivSys::WaitObject0);
    EXPECT_TRUE(KivSys::CloseInterruptEvent(event));
    std::signal(SIGTERM, SIG_DFL);
    EXPECT_TRUE(KivSys::CloseInterruptEvent(KivSys::CreateInterruptEvent()));
    EXPECT_EQ(handlerOf(SIGINT), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGTERM), SIG_DFL);
}

} // namespace
