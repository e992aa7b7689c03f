// How far a long transfer is, on a terminal.
#ifndef HOST_MARROWBY_PROGRESS_H
#define HOST_MARROWBY_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

/// One line of at most `width` columns: name, bytes of all, share, rate and time left. `seconds` since the start.
std::string progressLine(const std::string &name, std::uint64_t done, std::uint64_t total, double seconds,
                         unsigned width);

/// Keeps such a line up to date on standard error, a few times a second, when that is a terminal and the transfer takes
/// a while; otherwise writes nothing. The line is gone when the object is.
class Progress
{
public:
    Progress(const std::string &name, std::uint64_t total, bool isWanted);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance(std::uint64_t bytes);

private:
    typedef std::chrono::steady_clock Clock;

    std::string m_name;
    std::uint64_t m_done;
    std::uint64_t m_total;
    bool m_isShown;
    bool m_isOnScreen;
    Clock::time_point m_start;
    Clock::time_point m_lastShown;
};

#endif
