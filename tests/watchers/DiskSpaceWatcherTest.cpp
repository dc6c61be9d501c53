// Watching disk space.
#include <filesystem>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <KivBase/NoCase.h>
#include <KivFile/DiskSpaceWatcher.h>
#include <KivFile/Path.h>
#include <KivThread/EventSemaphore.h>

#include "Log.h"
#include "buffers/TemporaryDirectory.h"

namespace
{

namespace fs = std::filesystem;
using KivFile::DiskSpaceWatcher;
using Notifications = std::vector<KivFile::DiskSpaceWatcherNotification>;
using Callback = std::function<void(const Notifications&)>;

constexpr std::uint64_t MORE_THAN_THERE_IS = std::numeric_limits<std::uint64_t>::max();
constexpr unsigned int NEVER_AGAIN = std::numeric_limits<unsigned int>::max();

class Watching : public testing::Test
{
protected:
    // A paused watcher that watches the folder. A report is a line of the log, with the paths; then the callback runs.
    void Watch(unsigned int interval, const Callback& callback)
    {
        const auto report = [this, callback](void* list) {
            const auto& shortages = *static_cast<const Notifications*>(list);
            std::string paths;
            for (const auto& shortage : shortages)
                paths += shortage.Path() + ' ';
            log.Add(paths, [&] { callback(shortages); });
        };
        watcher = Kiv::MakeShared<DiskSpaceWatcher>(KivThread::MakeFunction(report), interval);
        plain = watcher.Get();
        plain->Pause();
        plain->AddWatchedPath(folder.Path(), MORE_THAN_THERE_IS);
    }

    TemporaryDirectory folder;
    Log log;
    KivThread::EventSemaphore go{KivThread::EventSemaphore::ManualReset};
    Kiv::SmartPtr<DiskSpaceWatcher> watcher;
    DiskSpaceWatcher* plain = nullptr; // for callbacks that run while the test drops the watcher
};

} // namespace

TEST_F(Watching, ReportsLessThanRequiredButNotAsMuch)
{
    std::uint64_t left = 0;
    // Others use the disk, too: looks again until nothing has changed since the question.
    Watch(0, [&](const Notifications& shortages) {
        if (shortages.size() == 2 && shortages[0].Required() == left + 1 && shortages[0].Available() == left &&
            shortages[1].Required() == MORE_THAN_THERE_IS)
            go.Signal();
        plain->ClearWatchedPaths();
        left = KivFile::PathT<char>(folder.Path()).GetAvailableDiskSpace();
        for (const std::uint64_t required : {left, left + 1, MORE_THAN_THERE_IS})
            plain->AddWatchedPath(folder.Path(), required);
    });
    plain->Resume();
    EXPECT_TRUE(go.Wait(60000));
    watcher = nullptr;
}

TEST_F(Watching, FollowsTheListAndWhatBecomesOfThePaths)
{
    const std::string later = folder.File("later"), file = folder.Make("a file");
    const std::function<void()> steps[] = {
        [&] { fs::create_directory(later); },
        [&] { plain->RemoveWatchedPath(folder.File("lat")); },
        [&] { plain->RemoveWatchedPath(Kiv::ToUpper(later)); },
        [&] { fs::remove(later); },
        [&] { plain->Pause(); },
    };
    Watch(0, [&, step = 0](const Notifications&) mutable { steps[step++](); });
    for (const std::string& path : {later, file, std::string(10000, 'x'), std::string("\xff\\<>|?*"), later})
        plain->AddWatchedPath(path, MORE_THAN_THERE_IS);
    plain->Resume();
    const std::string here = folder.Path() + ' ', there = later + ' ';
    EXPECT_EQ(log.Await(5), (Lines{here, here + there + there, here + there + there, here + there, here}));
    watcher = nullptr;
}

TEST_F(Watching, LooksOnceInAnIntervalWhoseMillisecondsExceed32Bits)
{
    for (const unsigned int interval : {NEVER_AGAIN, 1u << 29}) {
        Watch(interval, [](const Notifications&) {});
        const std::size_t before = log.Count();
        for (int i = 0; i < 5; ++i)
            plain->Resume();
        log.Await(before + 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_LE(log.Count(), before + 2) << interval; // the look of the new watcher, paused since, may have come late
    }
}

TEST_F(Watching, PausesAndResumesAThousandTimesAndGoesOn)
{
    const auto alternate = [this] {
        for (int i = 0; i < 1000; ++i) {
            plain->Pause();
            EXPECT_TRUE(plain->Paused());
            plain->Resume();
            EXPECT_FALSE(plain->Paused());
        }
    };
    Watch(NEVER_AGAIN, [&](const Notifications&) {
        if (log.Count() == 1)
            alternate();
    });
    plain->Resume();
    EXPECT_EQ(log.Await(2).size(), 2u);
    alternate();
    plain->Pause();
    const std::size_t before = log.Count();
    plain->Resume();
    EXPECT_GT(log.Await(before + 1).size(), before);
    watcher = nullptr;
}

TEST_F(Watching, DestructorWaitsForTheCallbackWhichMayDoAnything)
{
    bool isDone = false;
    Watch(0, [&](const Notifications&) {
        while (plain->NbRef() > 0)
            std::this_thread::yield();
        plain->Pause();
        plain->Resume();
        plain->ClearWatchedPaths();
        isDone = true;
    });
    plain->Resume();
    log.Await(1);
    watcher = nullptr;
    EXPECT_TRUE(isDone);
    EXPECT_EQ(log.Count(), 1u);
}

TEST_F(Watching, CallbackMayDropTheWatcher)
{
    KivThread::EventSemaphore atEnd(KivThread::EventSemaphore::ManualReset);
    // Destroyed with the last copy of what holds it.
    std::shared_ptr<void> owned(nullptr, [&atEnd](void*) { atEnd.Signal(); });
    Watch(0, [this, owned = std::move(owned)](const Notifications&) {
        go.Wait();
        watcher = nullptr;
    });
    plain->Resume();
    go.Signal();
    EXPECT_TRUE(atEnd.Wait(60000));
    EXPECT_EQ(log.Count(), 1u);
}

TEST_F(Watching, AnExceptionEndsTheWorkerUntilItIsResumed)
{
    Watch(0, [](const Notifications&) { throw std::runtime_error("leaves the callback"); });
    plain->Resume();
    log.Await(1);
    EXPECT_FALSE(plain->Paused());
    for (; log.Count() < 2; std::this_thread::yield())
        plain->Resume();
    watcher = nullptr;
}

TEST_F(Watching, HundredsAtOnceTakePathsAndReportThem)
{
    std::vector<Kiv::SmartPtr<DiskSpaceWatcher>> watchers;
    for (unsigned int i = 0; i < 200; ++i) {
        const auto report = [this, i, isFirst = true](void*) mutable {
            if (std::exchange(isFirst, false))
                log.Add(std::to_string(i));
        };
        watchers.push_back(
            Kiv::MakeShared<DiskSpaceWatcher>(KivThread::MakeFunction(report), i == 0 ? 0 : NEVER_AGAIN));
        watchers.back()->AddWatchedPath(folder.Path(), MORE_THAN_THERE_IS);
        watchers.back()->Pause();
        watchers.back()->Resume();
    }
    EXPECT_EQ(log.Await(watchers.size()).size(), watchers.size());
}
