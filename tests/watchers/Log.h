// What workers tell a test.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;

// Lines that workers write and a test waits for.
class Log
{
public:
    void Add(const std::string& line)
    {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
        m_changed.notify_all();
    }

    // All lines, as soon as there are so many.
    Lines Await(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::minutes(1), [&] { return m_lines.size() >= count; });
        return m_lines;
    }

    std::size_t Count()
    {
        const std::lock_guard lock(m_mutex);
        return m_lines.size();
    }

    // What a worker does, one line of it and no other worker beside it.
    template <class Work>
    void Add(const std::string& line, Work work)
    {
        const Alone alone(m_workers);
        Add(line);
        work();
    }

private:
    struct Alone {
        explicit Alone(std::atomic<int>& count) : m_count(count) { EXPECT_EQ(++m_count, 1); }
        ~Alone() { --m_count; }
        std::atomic<int>& m_count;
    };

    std::atomic<int> m_workers = 0;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Lines m_lines;
};
