#include <atomic>

#include <gtest/gtest.h>

#include "Folder.h"

namespace
{

using namespace KivSys;

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
    EXPECT_EQ(WaitForSingleObject(thread, 20000), DWORD{WaitObject0});
    EXPECT_TRUE(s_cleanedUp);
}

} // namespace
