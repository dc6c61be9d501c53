#include <atomic>

#include <gtest/gtest.h>

#include "Folder.h"

namespace
{

using namespace KivSys;

constexpr DWORD Long = 20000;

TEST(Events, AManualOneStaysSignalledAndAnAutomaticOneLetsOneThrough)
{
    for (const bool manual : {true, false}) {
        const Opened event(CreateEventW(manual));
        EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WaitTimeout});
        EXPECT_TRUE(SetEvent(event));
        EXPECT_TRUE(SetEvent(event));
        EXPECT_EQ(WaitForSingleObject(event, Infinite), DWORD{WaitObject0});
        EXPECT_EQ(WaitForSingleObject(event, 0), manual ? DWORD{WaitObject0} : DWORD{WaitTimeout});
        EXPECT_TRUE(SetEvent(event));
        EXPECT_TRUE(ResetEvent(event));
        EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WaitTimeout});
    }
}

TEST(Events, OtherHandlesAreRefused)
{
    const Folder folder;
    const Opened file(OpenFile(folder / "file", CreateNew));
    const Opened event(CreateEventW(true));
    EXPECT_FALSE(SetEvent(file));
    EXPECT_EQ(GetLastError(), ErrorInvalidHandle);
    EXPECT_EQ(GetFileSize(event, nullptr), InvalidFileSize);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), DWORD{WaitFailed});
    EXPECT_EQ(GetLastError(), ErrorInvalidHandle);
}

struct Worker {
    Opened go{CreateEventW(false)};
    DWORD id = 0;
    DWORD lastError = ErrorNotReady;

    static DWORD Run(void* parameter)
    {
        auto& worker = *static_cast<Worker*>(parameter);
        WaitForSingleObject(worker.go, Infinite);
        worker.id = GetCurrentThreadId();
        worker.lastError = GetLastError();
        return 0;
    }
};

TEST(Threads, AHandleIsSignalledWhenItsThreadEnds)
{
    Worker worker;
    SetLastError(ErrorInvalidName);
    const Opened thread(CreateThread(Worker::Run, &worker, "a name longer than any system takes"));
    ASSERT_TRUE(thread);
    EXPECT_EQ(WaitForSingleObject(thread, 10), DWORD{WaitTimeout});
    SetEvent(worker.go);
    EXPECT_EQ(WaitForSingleObject(thread, Long), DWORD{WaitObject0});
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WaitObject0});
    EXPECT_NE(worker.id, GetCurrentThreadId());
    EXPECT_NE(worker.lastError, DWORD{ErrorInvalidName}) << "the last error is each thread's own";
}

std::atomic<bool> s_cleanedUp = false;

struct CleansUpSlowly {
    ~CleansUpSlowly()
    {
        const Opened never(CreateEventW(true));
        EXPECT_EQ(WaitForSingleObject(never, 50), DWORD{WaitTimeout});
        s_cleanedUp = true;
    }
};

TEST(Threads, TheEndComesAfterTheThreadsOwnVariables)
{
    const Opened thread(CreateThread(
        [](void*) -> DWORD {
            const thread_local CleansUpSlowly object;
            return 0;
        },
        nullptr, "cleaner"));
    EXPECT_EQ(WaitForSingleObject(thread, Long), DWORD{WaitObject0});
    EXPECT_TRUE(s_cleanedUp);
}

} // namespace
