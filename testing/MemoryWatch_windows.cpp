#include "testing/MemoryWatch.h"

#include <windows.h>

#include <winternl.h>

namespace {

/// What the system tells of a process's memory (ProcessVmCounters). The documented calls tell what is in use of it, and
/// so nothing of what was asked for and never written to.
struct VirtualMemoryCounters {
    SIZE_T peakVirtualSize;
    SIZE_T virtualSize;
    ULONG pageFaultCount;
    SIZE_T peakWorkingSetSize;
    SIZE_T workingSetSize;
    SIZE_T quotaPeakPagedPoolUsage;
    SIZE_T quotaPagedPoolUsage;
    SIZE_T quotaPeakNonPagedPoolUsage;
    SIZE_T quotaNonPagedPoolUsage;
    SIZE_T pagefileUsage;
    SIZE_T peakPagefileUsage;
};

const PROCESSINFOCLASS kProcessVmCounters = static_cast<PROCESSINFOCLASS>(3);

/// The peak of the process's virtual memory, in bytes.
std::size_t peak()
{
    VirtualMemoryCounters counters = VirtualMemoryCounters();
    ::NtQueryInformationProcess(::GetCurrentProcess(), kProcessVmCounters, &counters, sizeof counters, nullptr);
    return counters.peakVirtualSize;
}

} // namespace

MemoryWatch::MemoryWatch() : m_before(peak()) {}

MemoryWatch::~MemoryWatch() {}

std::size_t MemoryWatch::largestGrowth() const
{
    return peak() - m_before;
}
