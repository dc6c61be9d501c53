// A watched file system that goes away.
#include <filesystem>

#include <sys/mount.h>

#include <gtest/gtest.h>

#include <KivFile/DiskSpaceWatcher.h>
#include <KivThread/EventSemaphore.h>

#include "buffers/TemporaryDirectory.h"

TEST(WatchingMounts, AnUnmountedFileSystemIsNoLongerShortAndTheWatchGoesOn)
{
    constexpr std::uint64_t capacity = 65536;
    const TemporaryDirectory folder;
    const std::string mountPoint = folder.File("mounted");
    std::filesystem::create_directory(mountPoint);
    if (::mount("none", mountPoint.c_str(), "tmpfs", 0, "size=65536") != 0)
        GTEST_SKIP() << "not allowed to mount";
    KivThread::EventSemaphore done(KivThread::EventSemaphore::ManualReset);
    int looks = 0;
    const auto callback = [&](void* list) {
        const auto& shortages = *static_cast<std::vector<KivFile::DiskSpaceWatcherNotification>*>(list);
        ASSERT_EQ(shortages.size(), looks == 0 ? 2u : 1u);
        if (looks++ == 0) {
            EXPECT_EQ(shortages[0].Available(), capacity);
            EXPECT_EQ(::umount(mountPoint.c_str()), 0);
        } else {
            EXPECT_EQ(shortages[0].Path(), folder.Path());
            done.Signal();
        }
    };
    const auto watcher = Kiv::MakeShared<KivFile::DiskSpaceWatcher>(KivThread::MakeFunction(callback), 0);
    watcher->Pause();
    watcher->AddWatchedPath(mountPoint, capacity);
    watcher->AddWatchedPath(mountPoint, capacity + 1);
    watcher->AddWatchedPath(folder.Path(), ~std::uint64_t{0});
    watcher->Resume();
    EXPECT_TRUE(done.Wait(60000));
}
