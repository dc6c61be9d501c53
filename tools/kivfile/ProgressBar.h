// How far a long command has come.
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>

#include <KivBase/LogEntryCallInterface.h>

namespace KivTool
{

// A bar on standard error, shown where that is a terminal and the work has lasted longer than a second. It disappears
// when the object goes.
class ProgressBar
{
public:
    // total is the number of steps. A bar that is not wanted shows nothing.
    ProgressBar(std::ostream& err, bool wanted, std::size_t total);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    // Says that done steps have been finished.
    void Update(std::size_t done);
    // Takes the bar off the line, so that something else can be printed there.
    void Hide();

private:
    using Clock = std::chrono::steady_clock;

    std::ostream& m_err;
    bool m_wanted;
    std::size_t m_total;
    Clock::time_point m_nextDraw;
    bool m_visible = false;
};

// Shows on a bar, which must outlive it, how far a part of the work has come: count steps that begin behind first.
class ProgressLog final : public Kiv::LogEntryCallInterface
{
public:
    ProgressLog(ProgressBar& bar, std::size_t first, std::size_t count) : m_bar(bar), m_first(first), m_count(count) {}

    void Progress(double ratio) override;

private:
    ProgressBar& m_bar;
    const std::size_t m_first;
    const std::size_t m_count;
};

} // namespace KivTool
