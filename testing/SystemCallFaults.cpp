#include "testing/SystemCallFaults.h"

#include "testing/SystemCallPlan.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace {

struct CallPlan {
    int count;
    int firstAt;  ///< how many calls, of any kind, had been made before the first one
    int failAt;   ///< ordinal of the first failure, -1: none
    bool forever; ///< all that follow fail too
    int error;
    bool failed;
    bool interrupt;
    bool interruptedLast;
    int interruptions;
};

struct Plan {
    CallPlan calls[kSystemCallCount];
    int callCount;
    bool resolves;
    std::vector<ResolvedAddress> addresses;
    std::vector<std::string> connected;
    std::size_t sendLimit;
    std::size_t receiveLimit;
    std::size_t longestReceive;
};

// Not thread_local: a thread's first look at such a variable may take memory, by the calls that come by here.
Plan onlyPlan;
const std::uint64_t kNobody = 0;
std::atomic<std::uint64_t> owner(kNobody);

/// This thread's; null when it has ordered nothing.
Plan *plan()
{
    const std::uint64_t present = owner;
    return present != kNobody && present == system_call_plan::currentThread() ? &onlyPlan : nullptr;
}

CallPlan *planFor(SystemCall call)
{
    Plan *const own = plan();
    return own ? &own->calls[static_cast<int>(call)] : nullptr;
}

/// The host name of each entry that did not come from the system.
char madeUp[] = "made up";

/// One entry of a faked resolver list, with its address behind it.
struct FakeEntry {
    addrinfo info;
    sockaddr_storage address;
};

addrinfo *newEntry(const ResolvedAddress &resolved, int port)
{
    FakeEntry *entry = new FakeEntry();
    entry->info.ai_canonname = madeUp;
    entry->info.ai_socktype = SOCK_STREAM;
    entry->info.ai_protocol = IPPROTO_TCP;
    entry->info.ai_addr = reinterpret_cast<sockaddr *>(&entry->address);
    const std::uint16_t networkPort = htons(static_cast<std::uint16_t>(resolved.port != 0 ? resolved.port : port));
    sockaddr_in *v4 = reinterpret_cast<sockaddr_in *>(&entry->address);
    sockaddr_in6 *v6 = reinterpret_cast<sockaddr_in6 *>(&entry->address);
    if (system_call_plan::isAddress(AF_INET, resolved.address.c_str(), &v4->sin_addr)) {
        v4->sin_family = AF_INET;
        v4->sin_port = networkPort;
        entry->info.ai_family = AF_INET;
        entry->info.ai_addrlen = sizeof *v4;
    } else if (system_call_plan::isAddress(AF_INET6, resolved.address.c_str(), &v6->sin6_addr)) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = networkPort;
        entry->info.ai_family = AF_INET6;
        entry->info.ai_addrlen = sizeof *v6;
    } else {
        throw std::invalid_argument("not a numeric address: " + resolved.address);
    }
    return &entry->info;
}

std::string numericText(const sockaddr *address)
{
    if (address->sa_family == AF_INET) {
        const sockaddr_in *v4 = reinterpret_cast<const sockaddr_in *>(address);
        return system_call_plan::textOf(AF_INET, &v4->sin_addr) + ":" + std::to_string(ntohs(v4->sin_port));
    }
    const sockaddr_in6 *v6 = reinterpret_cast<const sockaddr_in6 *>(address);
    return system_call_plan::textOf(AF_INET6, &v6->sin6_addr) + ":" + std::to_string(ntohs(v6->sin6_port));
}

std::size_t limited(std::size_t size, std::size_t limit)
{
    return limit > 0 ? (std::min)(size, limit) : size;
}

} // namespace

SystemCallFaults::SystemCallFaults()
{
    std::uint64_t nobody = kNobody;
    if (!owner.compare_exchange_strong(nobody, system_call_plan::currentThread()))
        throw std::logic_error("faults are ordered already");
    onlyPlan = Plan();
    for (CallPlan &call : onlyPlan.calls)
        call.failAt = -1;
}

SystemCallFaults::~SystemCallFaults()
{
    owner = kNobody;
}

void SystemCallFaults::fail(SystemCall call, int ordinal, int error)
{
    CallPlan *calls = planFor(call);
    calls->failAt = calls->count + ordinal;
    calls->forever = false;
    calls->error = error;
    calls->failed = false;
}

void SystemCallFaults::failFrom(SystemCall call, int ordinal, int error)
{
    fail(call, ordinal, error);
    planFor(call)->forever = true;
}

int SystemCallFaults::count(SystemCall call) const
{
    return planFor(call)->count;
}

bool SystemCallFaults::hasFailed(SystemCall call) const
{
    return planFor(call)->failed;
}

bool SystemCallFaults::isInOrder(SystemCall first, SystemCall second) const
{
    return count(first) > 0 && count(second) > 0 && planFor(first)->firstAt < planFor(second)->firstAt;
}

void SystemCallFaults::resolveTo(const std::vector<ResolvedAddress> &addresses)
{
    onlyPlan.resolves = true;
    onlyPlan.addresses = addresses;
}

void SystemCallFaults::resolveToNothing()
{
    resolveTo(std::vector<ResolvedAddress>());
}

std::vector<std::string> SystemCallFaults::connected() const
{
    return onlyPlan.connected;
}

void SystemCallFaults::limitSend(std::size_t bytes)
{
    onlyPlan.sendLimit = bytes;
}

void SystemCallFaults::limitReceive(std::size_t bytes)
{
    onlyPlan.receiveLimit = bytes;
}

void SystemCallFaults::interruptEach(SystemCall call)
{
    planFor(call)->interrupt = true;
}

int SystemCallFaults::interruptions(SystemCall call) const
{
    return planFor(call)->interruptions;
}

std::size_t SystemCallFaults::longestReceive() const
{
    return onlyPlan.longestReceive;
}

namespace system_call_plan {

bool mustFail(SystemCall call, int *error)
{
    CallPlan *calls = planFor(call);
    if (!calls)
        return false;
    const int ordinal = calls->count++;
    if (ordinal == 0)
        calls->firstAt = onlyPlan.callCount;
    ++onlyPlan.callCount;
    if (calls->failAt < 0 || ordinal < calls->failAt || (ordinal > calls->failAt && !calls->forever))
        return false;
    calls->failed = true;
    *error = calls->error;
    return true;
}

bool mustInterrupt(SystemCall call)
{
    CallPlan *calls = planFor(call);
    if (!calls || !calls->interrupt)
        return false;
    calls->interruptedLast = !calls->interruptedLast;
    if (calls->interruptedLast)
        ++calls->interruptions;
    return calls->interruptedLast;
}

void noteConnect(const sockaddr *address)
{
    if (Plan *const own = plan())
        own->connected.push_back(numericText(address));
}

std::size_t allowedToSend(std::size_t size)
{
    const Plan *const own = plan();
    return own ? limited(size, own->sendLimit) : size;
}

std::size_t allowedToReceive(std::size_t size, std::size_t firstSize)
{
    Plan *const own = plan();
    if (!own)
        return size;
    own->longestReceive = (std::max)(own->longestReceive, firstSize);
    return limited(size, own->receiveLimit);
}

bool resolve(const char *service, addrinfo **list)
{
    const Plan *const own = plan();
    if (!own || !own->resolves)
        return false;
    *list = nullptr;
    addrinfo **end = list;
    for (const ResolvedAddress &resolved : own->addresses) {
        *end = newEntry(resolved, std::atoi(service));
        end = &(*end)->ai_next;
    }
    return true;
}

bool release(addrinfo *list)
{
    if (!list || list->ai_canonname != madeUp)
        return false;
    while (list) {
        addrinfo *next = list->ai_next;
        delete reinterpret_cast<FakeEntry *>(list);
        list = next;
    }
    return true;
}

} // namespace system_call_plan
