#include "ProgressBar.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace KivTool
{
namespace
{

constexpr std::size_t WIDTH = 40;
constexpr auto FIRST_DRAW = std::chrono::seconds(1);
constexpr auto REDRAW = std::chrono::milliseconds(100);

} // namespace

ProgressBar::ProgressBar(std::ostream& err, bool wanted, std::size_t total)
    : m_err(err), m_wanted(wanted && total > 0), m_total(total), m_nextDraw(Clock::now() + FIRST_DRAW)
{
}

ProgressBar::~ProgressBar()
{
    Hide();
}

void ProgressBar::Update(std::size_t done)
{
    if (!m_wanted || Clock::now() < m_nextDraw)
        return;
    m_nextDraw = Clock::now() + REDRAW;
    const std::size_t filled = WIDTH * std::min(done, m_total) / m_total;
    m_err << "\r[" << std::string(filled, '#') << std::string(WIDTH - filled, ' ') << "] " << done << '/' << m_total
          << std::flush;
    m_visible = true;
}

void ProgressBar::Hide()
{
    if (!m_visible)
        return;
    m_err << "\r\x1B[K" << std::flush;
    m_visible = false;
}

void ProgressLog::Progress(double ratio)
{
    m_bar.Update(m_first + static_cast<std::size_t>(ratio * static_cast<double>(m_count)));
}

} // namespace KivTool
