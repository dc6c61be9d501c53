// Workers, events, locks and function objects.
#include <thread>

#include <gtest/gtest.h>

#include <KivThread/CriticalSection.h>
#include <KivThread/Thread.h>

using namespace KivThread;

TEST(Event, AutoResetEndsWithOneWaitAndManualResetWithReset)
{
    EventSemaphore once(EventSemaphore::AutoReset);
    EventSemaphore lasting(EventSemaphore::ManualReset);
    EXPECT_FALSE(once.Wait(0) || lasting.Wait(1));
    once.Signal();
    once.Signal();
    lasting.Signal();
    EXPECT_TRUE(once.Wait() && lasting.Wait() && lasting.Wait(0));
    EXPECT_FALSE(once.Wait(0));
    lasting.Reset();
    EXPECT_FALSE(lasting.Wait(0));
}

TEST(CriticalSection, IsHeldByOneThreadAtATimeAndEnteredAgainByIt)
{
    CriticalSection section(4000);
    int count = 0;
    const auto add = [&] {
        for (int i = 0; i < 10000; ++i) {
            const CriticalSection::Lock lock(section), again(section);
            const int before = count;
            if (i % 100 == 0)
                std::this_thread::yield();
            count = before + 1;
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(count, 20000);
}

TEST(Thread, RunsOnceAndIsWaitedForByOthersOnly)
{
    int runs = 0;
    Kiv::SmartPtr<Thread> worker;
    worker = Kiv::MakeShared<Thread>("Test::Once", MakeFunction([&](void*) {
                                         ++runs;
                                         EXPECT_TRUE(worker->IsCurrent() && !worker->Wait());
                                     }));
    EXPECT_TRUE(worker->Wait(0));
    for (int i = 0; i < 2; ++i) {
        worker->Start();
        EXPECT_TRUE(worker->Wait());
    }
    EXPECT_EQ(runs, 1);
}

TEST(Function, MemberWrapperForwardsItsArgumentOrTheDefault)
{
    struct Target {
        void Take(void* argument) { taken = argument; }
        void* taken = nullptr;
    };
    int given, byDefault;
    const Kiv::SmartPtr<Target> target = Kiv::MakeShared<Target>();
    const auto function = MakeFunction(MemberPointerWrapper_(target, &Target::Take, &byDefault));
    (*function)(&given);
    EXPECT_EQ(target->taken, &given);
    (*function)(nullptr);
    EXPECT_EQ(target->taken, &byDefault);
}
