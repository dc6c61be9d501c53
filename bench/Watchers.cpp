// Events from a signal to their handler, against a std::deque behind a std::mutex and a std::condition_variable; and a
// disk-space watcher's look at its directories, against stat and statvfs of the same.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <time.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <KivFile/DiskSpaceWatcher.h>
#include <KivFile/ObserverCallInterface.h>
#include <KivThread/EventSemaphore.h>

namespace
{

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using KivFile::DeviceEvent;

constexpr std::uint32_t EVENTS = 1'000'000;
constexpr std::uint32_t BATCH = 100;
constexpr std::uint32_t SINGLE_EVENTS = 10'000;
constexpr int WATCHED_DIRECTORIES = 10'000;

// ---- Events -------------------------------------------------------------------------------------------------

// What both sides do with an event.
class Handler
{
public:
    void Handle(const Kiv::WString& path, std::uint32_t value)
    {
        benchmark::DoNotOptimize(path.data());
        if (value != m_awaited.load(std::memory_order_relaxed))
            return;
        m_handledAt = Clock::now();
        m_awaited.store(0, std::memory_order_release);
    }

    void Expect(std::uint32_t value) { m_awaited = value; }

    // When the expected value was handled. Spins: no wake-up of the measuring thread is measured.
    Clock::time_point Await() const
    {
        while (m_awaited.load(std::memory_order_acquire) != 0) {
        }
        return m_handledAt;
    }

private:
    std::atomic<std::uint32_t> m_awaited = 0;
    Clock::time_point m_handledAt;
};

class Observer : public KivFile::ObserverCallInterface
{
public:
    void OnKind1File(const Kiv::WString&, std::uint32_t) override {}
    void OnKind0File(const Kiv::WString&, std::uint32_t) override {}
    void OnKind1Directory(const Kiv::WString&, std::uint32_t) override {}
    void OnKind2(const Kiv::WString& path, std::uint32_t value) override { handler.Handle(path, value); }
    void OnEventsLost(const Kiv::WString&, std::uint32_t) override {}

    Handler handler;
};

class KivSide
{
public:
    KivSide() { m_observer->Start(); }

    void Add(const std::vector<DeviceEvent>& events) { m_observer->EventsOccurred(events); }
    Handler& EventHandler() { return m_observer->handler; }

private:
    Kiv::SmartPtr<Observer> m_observer = Kiv::MakeShared<Observer>();
};

class StdSide
{
public:
    ~StdSide()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isStopped = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }

    void Add(const std::vector<DeviceEvent>& events)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_queue.insert(m_queue.end(), events.begin(), events.end());
        }
        m_changed.notify_one();
    }
    Handler& EventHandler() { return m_handler; }

private:
    void Work()
    {
        std::unique_lock lock(m_mutex);
        while (true) {
            m_changed.wait(lock, [this] { return m_isStopped || !m_queue.empty(); });
            if (m_isStopped)
                return;
            const DeviceEvent event = std::move(m_queue.front());
            m_queue.pop_front();
            lock.unlock();
            if (event.kind == 2)
                m_handler.Handle(event.path, event.value);
            lock.lock();
        }
    }

    Handler m_handler;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<DeviceEvent> m_queue;
    bool m_isStopped = false;
    std::thread m_thread{&StdSide::Work, this};
};

// Wall time from the first batch to the last event's handler; the processor time is that of both threads.
template <class Side>
void Batches(benchmark::State& state)
{
    Side side;
    const Kiv::WString path = Kiv::Wide("\\home\\user\\documents\\letter.txt");
    std::vector<DeviceEvent> batch(BATCH, DeviceEvent{2, path, 0});
    for (auto _ : state) {
        side.EventHandler().Expect(EVENTS);
        for (std::uint32_t value = 1; value <= EVENTS; ++value) {
            batch[(value - 1) % BATCH].value = value;
            if (value % BATCH == 0)
                side.Add(batch);
        }
        side.EventHandler().Await();
    }
    state.SetItemsProcessed(state.iterations() * EVENTS);
}
BENCHMARK(Batches<KivSide>)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(Batches<StdSide>)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

// From the signal to the handler, the worker asleep before each.
template <class Side>
void Single(benchmark::State& state)
{
    Side side;
    const std::vector<DeviceEvent> event{{2, Kiv::Wide("\\home\\user\\documents\\letter.txt"), 1}};
    std::vector<double> times;
    for (auto _ : state) {
        side.EventHandler().Expect(1);
        const Clock::time_point start = Clock::now();
        side.Add(event);
        const std::chrono::duration<double> time = side.EventHandler().Await() - start;
        state.SetIterationTime(time.count());
        times.push_back(time.count() * 1e9);
        for (const auto asleep = Clock::now() + std::chrono::microseconds(50); Clock::now() < asleep;) {
        }
    }
    std::sort(times.begin(), times.end());
    state.counters["median_ns"] = times[times.size() / 2];
    state.counters["p99_ns"] = times[times.size() * 99 / 100];
}
BENCHMARK(Single<KivSide>)->UseManualTime()->Iterations(SINGLE_EVENTS);
BENCHMARK(Single<StdSide>)->UseManualTime()->Iterations(SINGLE_EVENTS);

// ---- Disk space ---------------------------------------------------------------------------------------------

const std::vector<std::string>& WatchedDirectories()
{
    static const struct Directories {
        Directories()
        {
            for (int i = 0; i < WATCHED_DIRECTORIES; ++i) {
                names.push_back((folder / ("watched-" + std::to_string(i))).string());
                fs::create_directories(names.back());
            }
        }
        ~Directories() { fs::remove_all(folder); }
        fs::path folder = fs::temp_directory_path() / ("kiv-bench-" + std::to_string(::getpid()));
        std::vector<std::string> names;
    } directories;
    return directories.names;
}

double ThreadSeconds()
{
    timespec time;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// The worker's processor time from one callback to the next, with one directory that is short of space, or all of them.
void KivLook(benchmark::State& state)
{
    KivThread::EventSemaphore hasLooked(KivThread::EventSemaphore::AutoReset);
    KivThread::EventSemaphore next(KivThread::EventSemaphore::AutoReset);
    double seconds = 0, last = 0;
    const auto callback = [&](void*) {
        seconds = ThreadSeconds() - last;
        hasLooked.Signal();
        next.Wait();
        last = ThreadSeconds();
    };
    const auto watcher = Kiv::MakeShared<KivFile::DiskSpaceWatcher>(KivThread::MakeFunction(callback), 0);
    watcher->Pause();
    constexpr std::uint64_t moreThanThereIs = std::numeric_limits<std::uint64_t>::max();
    for (const std::string& directory : WatchedDirectories())
        watcher->AddWatchedPath(directory, state.range(0) != 0 ? moreThanThereIs : 1);
    watcher->AddWatchedPath(WatchedDirectories().back(), moreThanThereIs);
    watcher->Resume();
    hasLooked.Wait();
    for (auto _ : state) {
        next.Signal();
        hasLooked.Wait();
        state.SetIterationTime(seconds);
    }
    watcher->Pause();
    next.Signal();
}
BENCHMARK(KivLook)->ArgName("allShort")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseManualTime();

void StatAndStatvfs(benchmark::State& state)
{
    const std::vector<std::string>& directories = WatchedDirectories();
    for (auto _ : state) {
        const double start = ThreadSeconds();
        int shortages = 0;
        for (const std::string& directory : directories) {
            struct stat status;
            struct statvfs volume;
            if (::stat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                ::statvfs(directory.c_str(), &volume) == 0)
                shortages += volume.f_bavail * volume.f_frsize < 1;
        }
        benchmark::DoNotOptimize(shortages);
        state.SetIterationTime(ThreadSeconds() - start);
    }
}
BENCHMARK(StatAndStatvfs)->Unit(benchmark::kMillisecond)->UseManualTime();

} // namespace
