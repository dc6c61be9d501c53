// Handling events one at a time.
#include <deque>
#include <functional>
#include <map>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include <KivFile/ObserverCallInterface.h>
#include <KivThread/EventSemaphore.h>

#include "Log.h"
#include "buffers/TemporaryDirectory.h"

namespace
{

using KivFile::DeviceEvent;

// Each handled event is a line of the log, the handler and the value; then the test's own handler runs.
class Observer : public KivFile::ObserverCallInterface
{
public:
    using Handler = std::function<void(std::uint32_t value)>;
    explicit Observer(Log& log, const Handler& handler = nullptr) : m_log(log), m_handler(handler) {}
    ~Observer() override { m_log.Add("gone"); }

    void OnKind1File(const Kiv::WString& path, std::uint32_t value) override { Handle("1f", path, value); }
    void OnKind0File(const Kiv::WString& path, std::uint32_t value) override { Handle("0f", path, value); }
    void OnKind1Directory(const Kiv::WString& path, std::uint32_t value) override { Handle("1d", path, value); }
    void OnKind2(const Kiv::WString& path, std::uint32_t value) override { Handle("2", path, value); }
    void OnEventsLost(const Kiv::WString& path, std::uint32_t value) override { Handle("lost", path, value); }

    Kiv::WString lastPath;

private:
    void Handle(const std::string& handler, const Kiv::WString& path, std::uint32_t value)
    {
        lastPath = path;
        // A copy, because the handler may destroy the observer.
        m_log.Add(handler + ' ' + std::to_string(value), [handle = m_handler, value] {
            if (handle)
                handle(value);
        });
    }

    Log& m_log;
    Handler m_handler;
};

std::vector<DeviceEvent> Kind2Events(std::uint32_t first, std::uint32_t end)
{
    std::vector<DeviceEvent> events;
    for (std::uint32_t value = first; value < end; ++value)
        events.push_back({2, Kiv::Wide("a path"), value});
    return events;
}

Lines Kind2Lines(std::uint32_t first, std::uint32_t end)
{
    Lines lines;
    for (std::uint32_t value = first; value < end; ++value)
        lines.push_back("2 " + std::to_string(value));
    return lines;
}

class Observing : public testing::Test
{
protected:
    void Observe(const Observer::Handler& handler)
    {
        observer = Kiv::MakeShared<Observer>(log, handler);
        plain = observer.Get();
    }

    Log log;
    Kiv::SmartPtr<Observer> observer;
    Observer* plain = nullptr; // for handlers that run while the test drops the observer
    KivThread::EventSemaphore go{KivThread::EventSemaphore::ManualReset};
};

} // namespace

TEST_F(Observing, KindAndPathChooseTheHandler)
{
    const TemporaryDirectory temporary;
    const Kiv::WString folder = Kiv::Wide(temporary.Path()), file = Kiv::Wide(temporary.Make("a file"));
    const Kiv::WString missing = Kiv::Wide(temporary.File("missing")), current, tooLong(10000, 'x');
    const Kiv::WString broken = folder + Kiv::WString{'\\', 0xDC00, 0xD800, 'x', 0xD800};
    const struct {
        std::uint32_t kind;
        const Kiv::WString& path;
        const char* handler; // empty: none
    } rows[] = {
        {0, file, "0f"},    {0, folder, ""},        {0, missing, ""}, {0, current, ""},  {0, tooLong, ""},
        {0, broken, ""},    {1, file, "1f"},        {1, missing, ""}, {1, tooLong, ""},  {1, folder, "1d"},
        {1, current, "1d"}, {1, broken, ""},        {3, file, ""},    {2, missing, "2"}, {2, current, "2"},
        {2, tooLong, "2"},  {0xFFFFFFFF, file, ""}, {2, broken, "2"},
    };
    std::vector<DeviceEvent> events;
    Lines expected;
    for (const auto& row : rows) {
        const auto value = static_cast<std::uint32_t>(events.size());
        events.push_back({row.kind, row.path, value});
        if (*row.handler != 0)
            expected.push_back(std::string(row.handler) + ' ' + std::to_string(value));
    }
    Observe(nullptr);
    observer->EventsOccurred({});
    observer->EventsOccurred(events);
    observer->Start();
    EXPECT_EQ(log.Await(expected.size()), expected);
    observer->Shutdown();
    observer->WaitForWorker();
    EXPECT_TRUE(observer->lastPath == broken);
}

TEST_F(Observing, BatchesAreHandledInTheirOrderWhoeverAddsThem)
{
    Observe([this](std::uint32_t value) {
        if (value < 1000)
            plain->EventsOccurred(Kind2Events(value + 10000, value + 10001));
    });
    observer->Start();
    const auto produce = [this](std::uint32_t first) {
        for (std::uint32_t value = first; value < first + 1000; value += 10)
            observer->EventsOccurred(Kind2Events(value, value + 10));
    };
    std::thread producer(produce, 0);
    produce(2000);
    producer.join();
    std::map<char, Lines> ofSource;
    for (const std::string& line : log.Await(3000))
        ofSource[line.size() > 6 ? 'h' : line.size() == 6 && line[2] >= '2' ? 'b' : 'a'].push_back(line);
    EXPECT_EQ(ofSource['a'], Kind2Lines(0, 1000));
    EXPECT_EQ(ofSource['b'], Kind2Lines(2000, 3000));
    EXPECT_EQ(ofSource['h'], Kind2Lines(10000, 11000));
}

TEST_F(Observing, WhatAShutdownLeavesTheNextWorkerHandlesFirst)
{
    Observe([this](std::uint32_t value) {
        if (value % 4 == 3)
            plain->Shutdown();
    });
    observer->EventsOccurred(Kind2Events(0, 8));
    for (std::uint32_t handled = 4; handled <= 12; handled += 4) {
        observer->Start();
        observer->WaitForWorker();
        EXPECT_EQ(log.Await(0), Kind2Lines(0, handled));
        if (handled == 4)
            observer->EventsOccurred(Kind2Events(8, 12));
    }
}

TEST_F(Observing, RestartsAThousandTimesAndLosesNothing)
{
    const auto restart = [this](int times) {
        for (int i = 0; i < times; ++i) {
            plain->Shutdown();
            plain->Start();
        }
    };
    Observe([&](std::uint32_t value) { restart(value == 0 ? 1000 : 1); });
    plain->Start();
    for (std::uint32_t value = 0; value < 1000; ++value) {
        plain->EventsOccurred(Kind2Events(value, value + 1));
        restart(1);
    }
    EXPECT_EQ(log.Await(1000), Kind2Lines(0, 1000));
    observer = nullptr;
}

TEST_F(Observing, AnExceptionEndsTheWorkerAndCostsItsOwnEventOnly)
{
    Observe([](std::uint32_t value) {
        if (value < 2)
            throw std::runtime_error("leaves the handler");
    });
    observer->EventsOccurred(Kind2Events(0, 3));
    observer->Start();
    observer->WaitForWorker();
    observer->EventsOccurred(Kind2Events(3, 4));
    EXPECT_EQ(log.Await(0), Kind2Lines(0, 1));
    observer->Start();
    observer->WaitForWorker();
    EXPECT_EQ(log.Await(0), Kind2Lines(0, 2));
    observer->Shutdown();
    observer->Start();
    EXPECT_EQ(log.Await(4), Kind2Lines(0, 4));
}

TEST_F(Observing, TheLastShareMayGoWhileAHandlerRuns)
{
    Observe([&](std::uint32_t) {
        while (plain->NbRef() > 0)
            std::this_thread::yield();
        const Kiv::SmartPtr<Observer> share(plain);
        share->EventsOccurred(Kind2Events(5, 6));
        share->Shutdown();
        share->Start();
        log.Add("done");
    });
    observer->EventsOccurred(Kind2Events(0, 3));
    observer->Start();
    log.Await(1);
    observer = nullptr;
    EXPECT_EQ(log.Await(0), (Lines{"2 0", "done", "gone"}));
}

TEST_F(Observing, AHandlerMayDropTheLastShare)
{
    KivThread::EventSemaphore atEnd(KivThread::EventSemaphore::ManualReset);
    // Destroyed with the last copy of what holds it.
    std::shared_ptr<void> owned(nullptr, [&atEnd](void*) { atEnd.Signal(); });
    Observe([this, owned = std::move(owned)](std::uint32_t) {
        go.Wait();
        observer->WaitForWorker();
        observer->Shutdown();
        observer->Start();
        observer = nullptr;
    });
    observer->EventsOccurred(Kind2Events(0, 3));
    observer->Start();
    go.Signal();
    EXPECT_EQ(log.Await(2), (Lines{"2 0", "gone"}));
    EXPECT_TRUE(atEnd.Wait(60000));
}

TEST_F(Observing, WithoutSharesItIsShutDownAndWaitedForFirst)
{
    for (std::size_t i = 0; i < 100; ++i) {
        Log own;
        Observer unshared(own), neverStarted(log);
        unshared.Start();
        unshared.EventsOccurred(Kind2Events(0, 1));
        own.Await(i % 2);
        unshared.Shutdown();
        unshared.WaitForWorker();
    }
}

TEST_F(Observing, HundredsAtOnceComeAndGo)
{
    std::deque<Log> logs(200);
    std::vector<Kiv::SmartPtr<Observer>> observers;
    for (Log& own : logs) {
        observers.push_back(Kiv::MakeShared<Observer>(own));
        observers.back()->Start();
        observers.back()->EventsOccurred(Kind2Events(0, 10));
    }
    for (Log& own : logs)
        EXPECT_EQ(own.Await(10), Kind2Lines(0, 10));
}
