#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <limits>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/uio.h>

namespace {

struct CallPlan {
    int count;
    int failAt;   ///< ordinal of the first failure, -1: none
    bool forever; ///< all that follow fail too
    int error;
    bool failed;
    bool interrupt;
    bool interruptedLast;
};

struct Plan {
    CallPlan calls[kSystemCallCount];
    bool resolves;
    std::vector<ResolvedAddress> addresses;
    std::vector<std::string> connected;
    std::size_t sendLimit;
    std::size_t receiveLimit;
    std::size_t longestReceive;
};

thread_local Plan *plan = nullptr;

CallPlan *planFor(SystemCall call)
{
    return plan ? &plan->calls[static_cast<int>(call)] : nullptr;
}

/// Counts one call. True when it has to fail; `*error` is set then.
bool mustFail(SystemCall call, int *error)
{
    CallPlan *calls = planFor(call);
    if (!calls)
        return false;
    const int ordinal = calls->count++;
    if (calls->failAt < 0 || ordinal < calls->failAt || (ordinal > calls->failAt && !calls->forever))
        return false;
    calls->failed = true;
    *error = calls->error;
    return true;
}

bool mustFail(SystemCall call)
{
    int error;
    if (!mustFail(call, &error))
        return false;
    errno = error;
    return true;
}

/// True every second time for a call that is to be interrupted.
bool mustInterrupt(SystemCall call)
{
    CallPlan *calls = planFor(call);
    if (!calls || !calls->interrupt)
        return false;
    calls->interruptedLast = !calls->interruptedLast;
    return calls->interruptedLast;
}

/// One entry of a faked resolver list, with its address behind it.
struct FakeEntry {
    addrinfo info;
    sockaddr_storage address;
};

addrinfo *newEntry(const ResolvedAddress &resolved, int port)
{
    FakeEntry *entry = new FakeEntry();
    entry->info.ai_socktype = SOCK_STREAM;
    entry->info.ai_protocol = IPPROTO_TCP;
    entry->info.ai_addr = reinterpret_cast<sockaddr *>(&entry->address);
    const std::uint16_t networkPort = htons(static_cast<std::uint16_t>(resolved.port != 0 ? resolved.port : port));
    sockaddr_in *v4 = reinterpret_cast<sockaddr_in *>(&entry->address);
    sockaddr_in6 *v6 = reinterpret_cast<sockaddr_in6 *>(&entry->address);
    if (::inet_pton(AF_INET, resolved.address.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = networkPort;
        entry->info.ai_family = AF_INET;
        entry->info.ai_addrlen = sizeof *v4;
    } else if (::inet_pton(AF_INET6, resolved.address.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = networkPort;
        entry->info.ai_family = AF_INET6;
        entry->info.ai_addrlen = sizeof *v6;
    } else {
        throw std::invalid_argument("not a numeric address: " + resolved.address);
    }
    return &entry->info;
}

/// The lists that __wrap_getaddrinfo made and nobody has freed yet.
thread_local std::vector<addrinfo *> fakeLists;

std::string numericText(const sockaddr *address)
{
    char text[INET6_ADDRSTRLEN] = "";
    if (address->sa_family == AF_INET) {
        const sockaddr_in *v4 = reinterpret_cast<const sockaddr_in *>(address);
        ::inet_ntop(AF_INET, &v4->sin_addr, text, sizeof text);
        return std::string(text) + ":" + std::to_string(ntohs(v4->sin_port));
    }
    const sockaddr_in6 *v6 = reinterpret_cast<const sockaddr_in6 *>(address);
    ::inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(v6->sin6_port));
}

std::size_t limited(std::size_t size, std::size_t limit)
{
    return limit > 0 ? std::min(size, limit) : size;
}

} // namespace

SystemCallFaults::SystemCallFaults()
{
    if (plan)
        throw std::logic_error("faults are ordered already");
    plan = new Plan();
    for (CallPlan &call : plan->calls)
        call.failAt = -1;
}

SystemCallFaults::~SystemCallFaults()
{
    delete plan;
    plan = nullptr;
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

void SystemCallFaults::resolveTo(const std::vector<ResolvedAddress> &addresses)
{
    plan->resolves = true;
    plan->addresses = addresses;
}

void SystemCallFaults::resolveToNothing()
{
    resolveTo(std::vector<ResolvedAddress>());
}

std::vector<std::string> SystemCallFaults::connected() const
{
    return plan->connected;
}

void SystemCallFaults::limitSend(std::size_t bytes)
{
    plan->sendLimit = bytes;
}

void SystemCallFaults::limitReceive(std::size_t bytes)
{
    plan->receiveLimit = bytes;
}

void SystemCallFaults::interruptEach(SystemCall call)
{
    planFor(call)->interrupt = true;
}

std::size_t SystemCallFaults::longestReceive() const
{
    return plan->longestReceive;
}

// What the linker puts in the place of the system's functions, and what it calls these then.
extern "C" {

int __real_getaddrinfo(const char *, const char *, const addrinfo *, addrinfo **);
void __real_freeaddrinfo(addrinfo *);
int __real_socket(int, int, int);
int __real_connect(int, const sockaddr *, socklen_t);
ssize_t __real_send(int, const void *, size_t, int);
ssize_t __real_recv(int, void *, size_t, int);
ssize_t __real_recvmsg(int, msghdr *, int);
int __real_setsockopt(int, int, int, const void *, socklen_t);
int __real_getsockopt(int, int, int, void *, socklen_t *);
int __real_getifaddrs(ifaddrs **);
int __real_getnameinfo(const sockaddr *, socklen_t, char *, socklen_t, char *, socklen_t, int);
void *__real_malloc(size_t);
void *__real_calloc(size_t, size_t);
void *__real_realloc(void *, size_t);
char *__real_strdup(const char *);

int __wrap_getaddrinfo(const char *host, const char *service, const addrinfo *hints, addrinfo **list)
{
    // Any family and streams only, whatever the machine would take without being asked.
    if (hints)
        EXPECT_TRUE(hints->ai_flags == 0 && hints->ai_family == AF_UNSPEC && hints->ai_socktype == SOCK_STREAM &&
                    hints->ai_protocol == 0);
    else
        ADD_FAILURE() << "getaddrinfo without hints";
    int error;
    if (mustFail(SystemCall::Resolve, &error))
        return error;
    if (!plan || !plan->resolves)
        return __real_getaddrinfo(host, service, hints, list);
    *list = nullptr;
    addrinfo **end = list;
    for (const ResolvedAddress &resolved : plan->addresses) {
        *end = newEntry(resolved, std::atoi(service));
        end = &(*end)->ai_next;
    }
    if (*list)
        fakeLists.push_back(*list);
    return 0;
}

void __wrap_freeaddrinfo(addrinfo *list)
{
    const std::vector<addrinfo *>::iterator fake = std::find(fakeLists.begin(), fakeLists.end(), list);
    if (fake == fakeLists.end()) {
        __real_freeaddrinfo(list);
        return;
    }
    fakeLists.erase(fake);
    while (list) {
        addrinfo *next = list->ai_next;
        delete reinterpret_cast<FakeEntry *>(list);
        list = next;
    }
}

int __wrap_socket(int family, int type, int protocol)
{
    return mustFail(SystemCall::Socket) ? -1 : __real_socket(family, type, protocol);
}

int __wrap_connect(int descriptor, const sockaddr *address, socklen_t size)
{
    if (plan)
        plan->connected.push_back(numericText(address));
    if (mustFail(SystemCall::Connect))
        return -1;
    if (!mustInterrupt(SystemCall::Connect))
        return __real_connect(descriptor, address, size);
    // An interrupted connect goes on by itself, as one that does not wait does.
    const int flags = ::fcntl(descriptor, F_GETFL);
    ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
    __real_connect(descriptor, address, size);
    ::fcntl(descriptor, F_SETFL, flags);
    errno = EINTR;
    return -1;
}

ssize_t __wrap_send(int descriptor, const void *buffer, size_t size, int flags)
{
    if (mustFail(SystemCall::Send)) {
        const int error = errno;
        if (error == ECONNRESET)
            ::shutdown(descriptor, SHUT_RDWR);
        errno = error;
        return -1;
    }
    if (mustInterrupt(SystemCall::Send)) {
        errno = EINTR;
        return -1;
    }
    return __real_send(descriptor, buffer, plan ? limited(size, plan->sendLimit) : size, flags);
}

ssize_t __wrap_recv(int descriptor, void *buffer, size_t size, int flags)
{
    if (mustFail(SystemCall::Receive))
        return -1;
    if (mustInterrupt(SystemCall::Receive)) {
        errno = EINTR;
        return -1;
    }
    if (plan) {
        plan->longestReceive = std::max(plan->longestReceive, size);
        size = limited(size, plan->receiveLimit);
    }
    return __real_recv(descriptor, buffer, size, flags);
}

ssize_t __wrap_recvmsg(int descriptor, msghdr *message, int flags)
{
    if (mustFail(SystemCall::Receive))
        return -1;
    if (mustInterrupt(SystemCall::Receive)) {
        errno = EINTR;
        return -1;
    }
    if (!plan)
        return __real_recvmsg(descriptor, message, flags);
    std::vector<iovec> places(message->msg_iov, message->msg_iov + message->msg_iovlen);
    plan->longestReceive = std::max(plan->longestReceive, places.at(0).iov_len);
    std::size_t room = limited(std::numeric_limits<std::size_t>::max(), plan->receiveLimit);
    for (iovec &place : places) {
        place.iov_len = std::min(place.iov_len, room);
        room -= place.iov_len;
    }
    msghdr allowed = *message;
    allowed.msg_iov = places.data();
    return __real_recvmsg(descriptor, &allowed, flags);
}

int __wrap_setsockopt(int descriptor, int level, int name, const void *value, socklen_t size)
{
    return mustFail(SystemCall::SetOption) ? -1 : __real_setsockopt(descriptor, level, name, value, size);
}

int __wrap_getsockopt(int descriptor, int level, int name, void *value, socklen_t *size)
{
    return mustFail(SystemCall::GetOption) ? -1 : __real_getsockopt(descriptor, level, name, value, size);
}

int __wrap_getifaddrs(ifaddrs **interfaces)
{
    return mustFail(SystemCall::Interfaces) ? -1 : __real_getifaddrs(interfaces);
}

int __wrap_getnameinfo(const sockaddr *address, socklen_t addressSize, char *host, socklen_t hostSize, char *service,
                       socklen_t serviceSize, int flags)
{
    int error;
    if (mustFail(SystemCall::NumericName, &error))
        return error;
    return __real_getnameinfo(address, addressSize, host, hostSize, service, serviceSize, flags);
}

void *__wrap_malloc(size_t size)
{
    return mustFail(SystemCall::Allocate) ? nullptr : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size)
{
    return mustFail(SystemCall::Allocate) ? nullptr : __real_calloc(count, size);
}

void *__wrap_realloc(void *block, size_t size)
{
    return mustFail(SystemCall::Allocate) ? nullptr : __real_realloc(block, size);
}

char *__wrap_strdup(const char *text)
{
    return mustFail(SystemCall::Duplicate) ? nullptr : __real_strdup(text);
}

} // extern "C"
