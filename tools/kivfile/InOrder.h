// Work on many inputs at once with results in input order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace KivTool
{

// Calls produce(index) for every index below count on up to jobs threads, and consume(result) for each result in index
// order on the calling thread. The producers keep at most a few results ahead of the consumer. Neither may throw.
template <class Result, class Produce, class Consume>
void ForEachInOrder(std::size_t count, unsigned int jobs, const Produce& produce, const Consume& consume)
{
    if (jobs <= 1 || count <= 1) {
        for (std::size_t i = 0; i < count; ++i)
            consume(produce(i));
        return;
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::size_t, Result> finished;
    std::size_t next = 0;
    std::size_t consumed = 0;
    const std::size_t ahead = 4 * static_cast<std::size_t>(jobs);

    const auto work = [&] {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [&] { return next == count || next < consumed + ahead; });
            if (next == count)
                return;
            const std::size_t index = next++;
            lock.unlock();
            Result result = produce(index);
            lock.lock();
            finished.emplace(index, std::move(result));
            changed.notify_all();
        }
    };

    std::vector<std::jthread> workers;
    try {
        for (unsigned int i = 0; i < jobs && i < count; ++i)
            workers.emplace_back(work);
    } catch (const std::system_error&) {
        if (workers.empty()) // fewer will do, none will not
            throw;
    }

    std::unique_lock lock(mutex);
    while (consumed < count) {
        changed.wait(lock, [&] { return finished.contains(consumed); });
        Result result = std::move(finished.extract(consumed).mapped());
        ++consumed;
        changed.notify_all();
        lock.unlock();
        consume(std::move(result));
        lock.lock();
    }
}

} // namespace KivTool
