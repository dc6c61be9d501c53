// Workers, events, locks and function objects.
#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include <KivThread/CriticalSection.h>
#include <KivThread/Thread.h>
#include <KivThread/ThreadException.h>
#include <platform/Platform.h>

using namespace KivThread;

namespace
{

template <class Body>
Kiv::SmartPtr<Thread> Started(Body body)
{
    auto thread = Kiv::MakeShared<Thread>("Test::Worker", MakeFunction([body](void*) mutable { body(); }));
    thread->Start();
    return thread;
}

} // namespace

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

TEST(Event, WakesAWorkerAgainAndAgain)
{
    EventSemaphore ping(EventSemaphore::AutoReset), pong(EventSemaphore::AutoReset);
    int turns = 0; // handed over by the events alone
    const auto worker = Started([&] {
        for (; turns < 1000; pong.Signal()) {
            ping.Wait();
            ++turns;
        }
    });
    for (int i = 1; i <= 1000; ++i) {
        ping.Signal();
        ASSERT_TRUE(pong.Wait(10000));
        ASSERT_EQ(turns, i);
    }
    EXPECT_TRUE(worker->Wait());
}

TEST(CriticalSection, IsHeldByOneThreadAtATimeAndEnteredAgainByIt)
{
    for (const unsigned int spinCount : {0u, 4000u}) {
        CriticalSection section(spinCount);
        int count = 0;
        const auto add = [&] {
            for (int i = 0; i < 10000; ++i) {
                const CriticalSection::Lock lock(section);
                const CriticalSection::Lock again(section);
                const int before = count;
                if (i % 100 == 0)
                    std::this_thread::yield();
                count = before + 1;
            }
        };
        const auto first = Started(add), second = Started(add);
        EXPECT_TRUE(first->Wait() && second->Wait());
        EXPECT_EQ(count, 20000);
    }
}

TEST(Thread, RunsOnceAndIsWaitedForByOthersOnly)
{
    int runs = 0;
    Kiv::SmartPtr<Thread> worker;
    bool isCurrent = false, waited = true;
    worker = Kiv::MakeShared<Thread>("Test::Once", MakeFunction([&](void* argument) {
                                         ++runs;
                                         isCurrent = worker->IsCurrent() && argument == nullptr;
                                         waited = worker->Wait();
                                     }));
    EXPECT_TRUE(worker->Wait(0));
    worker->Start();
    EXPECT_TRUE(worker->Wait());
    worker->Start();
    EXPECT_TRUE(worker->Wait());
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(isCurrent);
    EXPECT_FALSE(waited || worker->IsCurrent());
}

TEST(Thread, AnExceptionEndsItsWorkerAndReleasesWhatItOwns)
{
    const auto owned = std::make_shared<int>(0);
    const auto worker = Started([owned] { throw std::runtime_error("leaves the callback"); });
    EXPECT_TRUE(worker->Wait());
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(Thread, ReleaseDoesNotWaitAndTheWorkerKeepsItsShare)
{
    struct Shared {
        EventSemaphore go{EventSemaphore::ManualReset}, gone{EventSemaphore::ManualReset};
    };
    const auto shared = std::make_shared<Shared>();
    auto worker = Started([shared] {
        shared->go.Wait();
        shared->gone.Signal();
    });
    EXPECT_FALSE(worker->Wait(1));
    worker = nullptr;
    EXPECT_FALSE(shared->gone.Wait(0));
    shared->go.Signal();
    EXPECT_TRUE(shared->gone.Wait(10000));
}

TEST(Function, MemberWrapperForwardsItsArgumentOrTheDefault)
{
    struct Target {
        void Take(void* argument) { taken = argument; }
        void* taken = nullptr;
    };
    int given, byDefault;
    const Kiv::SmartPtr<Target> target = Kiv::MakeShared<Target>();
    const auto takenFrom = [&](const Kiv::SmartPtr<Function>& function, void* argument) {
        (*function)(argument);
        return target->taken;
    };
    const auto shared = MakeFunction(MemberPointerWrapper_(target, &Target::Take, &byDefault));
    EXPECT_EQ(takenFrom(shared, &given), &given);
    EXPECT_EQ(takenFrom(shared, nullptr), &byDefault);
    EXPECT_EQ(takenFrom(MakeFunction(MemberPointerWrapper_(target.Get(), &Target::Take)), nullptr), nullptr);
}

TEST(ThreadException, CarriesTheSystemsWordsForTheLastError)
{
    const auto words = [](KivSys::DWORD code) {
        KivSys::SetLastError(code);
        try {
            ThrowLastError();
        } catch (const Kiv::Exception& exception) {
            return exception.What();
        }
    };
    EXPECT_FALSE(words(KivSys::ErrorInvalidHandle).empty());
    EXPECT_NE(words(KivSys::ErrorInvalidHandle), words(KivSys::ErrorDiskFull));
}
