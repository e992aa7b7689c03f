// Wall time and this process's processor time of a stretch of work, in seconds.
#ifndef BENCHMARK_CLOCK_H
#define BENCHMARK_CLOCK_H

#include <chrono>
#include <sys/resource.h>

class Clock
{
public:
    Clock() : m_start(std::chrono::steady_clock::now()), m_cpuStart(processCpu()) {}

    double wall() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }
    double cpu() const { return processCpu() - m_cpuStart; }

private:
    static double seconds(const timeval &time)
    {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
    static double processCpu()
    {
        rusage usage;
        ::getrusage(RUSAGE_SELF, &usage);
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }

    std::chrono::steady_clock::time_point m_start;
    double m_cpuStart;
};

#endif
