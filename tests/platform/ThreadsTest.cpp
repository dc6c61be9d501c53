#include <atomic>

#include <gtest/gtest.h>

#include "Folder.h"

namespace
{

using namespace KivSys;

constexpr DWORD Long = 20000;

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
