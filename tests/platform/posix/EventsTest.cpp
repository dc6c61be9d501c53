// Events whose waiters have not run yet when the next call comes.
#include <atomic>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <platform/posix/Event.h>

namespace
{

using KivSys::Event;

// A thread that waits for an event, asleep before the constructor returns.
class Waiter
{
public:
    Waiter(Event& event, KivSys::DWORD milliseconds)
        : m_thread([this, &event, milliseconds] {
              m_id = ::gettid();
              m_result = event.Wait(milliseconds);
          })
    {
        while (StateOf(m_id) != 'S')
            std::this_thread::yield();
    }

    KivSys::DWORD Result()
    {
        m_thread.join();
        return m_result;
    }

private:
    static char StateOf(pid_t thread)
    {
        std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string number, name;
        char state = 0;
        file >> number >> name >> state;
        return state;
    }

    std::atomic<pid_t> m_id = 0;
    KivSys::DWORD m_result = 0;
    std::thread m_thread;
};

constexpr int WAITERS = 3;

// Does what it is told with waiters asleep and counts those that were released.
template <class Act>
int CountReleased(Event& event, Act act, KivSys::DWORD milliseconds = KivSys::Infinite)
{
    std::vector<std::unique_ptr<Waiter>> waiters;
    for (int i = 0; i < WAITERS; ++i)
        waiters.push_back(std::make_unique<Waiter>(event, milliseconds));
    act();
    int released = 0;
    for (const auto& waiter : waiters)
        released += waiter->Result() == KivSys::WaitObject0;
    return released;
}

TEST(PosixEvents, SignalsInARowReleaseAWaiterEach)
{
    for (int round = 0; round < 100; ++round) {
        Event event(false);
        const auto signal = [&] {
            for (int i = 0; i < WAITERS; ++i)
                event.SetSignalled(true);
            event.SetSignalled(false);
        };
        EXPECT_EQ(CountReleased(event, signal), WAITERS);
        EXPECT_EQ(event.Wait(0), KivSys::WaitTimeout);
        event.SetSignalled(true);
        event.SetSignalled(true);
        EXPECT_EQ(event.Wait(KivSys::Infinite), KivSys::WaitObject0);
        EXPECT_EQ(event.Wait(1), KivSys::WaitTimeout) << "nobody waited for the second";
    }
}

TEST(PosixEvents, AResetTakesBackNoWaiter)
{
    for (int round = 0; round < 100; ++round) {
        Event event(true);
        const auto pulse = [&] {
            event.SetSignalled(true);
            event.SetSignalled(false);
        };
        EXPECT_EQ(CountReleased(event, pulse), WAITERS);
        EXPECT_EQ(event.Wait(0), KivSys::WaitTimeout);
    }
}

TEST(PosixEvents, ThoseWhoseTimePassesAreNotCountedAsReleased)
{
    Event event(false);
    EXPECT_EQ(CountReleased(
                  event, [&] { event.SetSignalled(true); }, 50),
              1);
    EXPECT_EQ(event.Wait(0), KivSys::WaitTimeout);
    event.SetSignalled(true);
    EXPECT_EQ(event.Wait(0), KivSys::WaitObject0);
}

} // namespace
