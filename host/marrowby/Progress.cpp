#include "host/marrowby/Progress.h"

#include "host/marrowby/HumanSize.h"

#include "platform/Terminal.h"

#include <cstdio>

namespace {

std::string timeText(double seconds)
{
    const std::uint64_t whole = static_cast<std::uint64_t>(seconds + 0.5);
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%llu:%02u:%02u", static_cast<unsigned long long>(whole / 3600),
                      static_cast<unsigned>(whole / 60 % 60), static_cast<unsigned>(whole % 60));
    else
        std::snprintf(text, sizeof text, "%u:%02u", static_cast<unsigned>(whole / 60),
                      static_cast<unsigned>(whole % 60));
    return text;
}

} // namespace

std::string progressLine(const std::string &name, std::uint64_t done, std::uint64_t total, double seconds,
                         unsigned width)
{
    std::string numbers = humanSize(done) + " of " + humanSize(total);
    if (total > 0) {
        char share[16];
        std::snprintf(share, sizeof share, "  %3u%%",
                      static_cast<unsigned>(static_cast<double>(done) * 100 / static_cast<double>(total)));
        numbers += share;
    }
    if (seconds > 0 && done > 0) {
        const double rate = static_cast<double>(done) / seconds;
        numbers += "  " + humanSize(static_cast<std::uint64_t>(rate)) + "/s";
        numbers += "  " + timeText(static_cast<double>(total - done) / rate) + " left";
    }
    const std::string line = name + "  " + numbers;
    if (line.size() <= width)
        return line;
    // The numbers matter more than the name, and its end more than its start.
    if (numbers.size() + 6 > width)
        return numbers.substr(0, width);
    return "..." + name.substr(name.size() - (width - numbers.size() - 5)) + "  " + numbers;
}

Progress::Progress(const std::string &name, std::uint64_t total, bool isWanted)
    : m_name(name), m_done(0), m_total(total), m_isShown(isWanted && platform::isErrorOutputTerminal()),
      m_isOnScreen(false), m_start(Clock::now()), m_lastShown(m_start)
{
}

Progress::~Progress()
{
    if (m_isOnScreen)
        std::fputs("\r\033[K", stderr);
}

void Progress::advance(std::uint64_t bytes)
{
    m_done += bytes;
    if (!m_isShown)
        return;
    const Clock::time_point now = Clock::now();
    if (now - m_lastShown < std::chrono::milliseconds(250))
        return;
    m_lastShown = now;
    m_isOnScreen = true;
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    std::fprintf(stderr, "\r%s\033[K",
                 progressLine(m_name, m_done, m_total, seconds, platform::terminalWidth() - 1).c_str());
    std::fflush(stderr);
}
