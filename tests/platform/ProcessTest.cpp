// The process, its threads and what the system tells it.
#include <atomic>

#include "Folder.h"

namespace
{

using namespace KivSys;

TEST(LocalTimes, EndWithTheYear3000)
{
    std::tm time{};
    EXPECT_TRUE(LocalTime(32535215999, &time));
    EXPECT_TRUE(time.tm_year == 1100 || time.tm_year == 1101);
    EXPECT_FALSE(LocalTime(32535216000, &time));
    EXPECT_FALSE(LocalTime(-1, &time));
}

TEST(ErrorTexts, AreOneLineAndFitTheBuffer)
{
    WCHAR text[300];
    for (const DWORD code : {ErrorFileNotFound, ErrorNoMoreFiles, ErrorDiskFull, ErrorSharingViolation}) {
        const DWORD length = FormatMessageW(code, text, 300);
        ASSERT_GT(length, 3u) << code;
        EXPECT_GT(text[length - 1], ' ') << code;
        text[3] = 0xBEEF;
        EXPECT_EQ(FormatMessageW(code, text, 3), 3u);
        EXPECT_EQ(text[3], 0xBEEF) << code;
    }
    EXPECT_EQ(FormatMessageW(0x20001234, text, 300), 0u);
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
    EXPECT_EQ(WaitForSingleObject(thread, 20000), DWORD{WaitObject0});
    EXPECT_TRUE(s_cleanedUp);
}

} // namespace
