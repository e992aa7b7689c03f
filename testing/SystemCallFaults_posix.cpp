#include "testing/ReceiveHook.h"
#include "testing/SystemCallPlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <ifaddrs.h>
#include <pthread.h>
#include <sys/uio.h>
#include <vector>

using namespace system_call_plan;

namespace {

bool mustFail(SystemCall call)
{
    int error;
    if (!system_call_plan::mustFail(call, &error))
        return false;
    errno = error;
    return true;
}

/// What the hook does must not hide the call's error.
void noteReceived(ssize_t bytes)
{
    const int error = errno;
    ReceiveHook::noteReceived(bytes);
    errno = error;
}

} // namespace

int systemError(int error)
{
    return error;
}

std::uint64_t system_call_plan::currentThread()
{
    return static_cast<std::uint64_t>(::pthread_self());
}

bool system_call_plan::isAddress(int family, const char *text, void *address)
{
    return ::inet_pton(family, text, address) == 1;
}

std::string system_call_plan::textOf(int family, const void *address)
{
    char text[INET6_ADDRSTRLEN] = "";
    ::inet_ntop(family, address, text, sizeof text);
    return text;
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
    return resolve(service, list) ? 0 : __real_getaddrinfo(host, service, hints, list);
}

void __wrap_freeaddrinfo(addrinfo *list)
{
    if (!release(list))
        __real_freeaddrinfo(list);
}

int __wrap_socket(int family, int type, int protocol)
{
    return mustFail(SystemCall::Socket) ? -1 : __real_socket(family, type, protocol);
}

int __wrap_connect(int descriptor, const sockaddr *address, socklen_t size)
{
    noteConnect(address);
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
    return __real_send(descriptor, buffer, allowedToSend(size), flags);
}

ssize_t __wrap_recv(int descriptor, void *buffer, size_t size, int flags)
{
    if (mustFail(SystemCall::Receive))
        return -1;
    if (mustInterrupt(SystemCall::Receive)) {
        errno = EINTR;
        return -1;
    }
    const ssize_t received = __real_recv(descriptor, buffer, allowedToReceive(size, size), flags);
    noteReceived(received);
    return received;
}

ssize_t __wrap_recvmsg(int descriptor, msghdr *message, int flags)
{
    if (mustFail(SystemCall::Receive))
        return -1;
    if (mustInterrupt(SystemCall::Receive)) {
        errno = EINTR;
        return -1;
    }
    std::vector<iovec> places(message->msg_iov, message->msg_iov + message->msg_iovlen);
    std::size_t size = 0;
    for (const iovec &place : places)
        size += place.iov_len;
    std::size_t room = allowedToReceive(size, places.at(0).iov_len);
    for (iovec &place : places) {
        place.iov_len = std::min(place.iov_len, room);
        room -= place.iov_len;
    }
    msghdr allowed = *message;
    allowed.msg_iov = places.data();
    const ssize_t received = __real_recvmsg(descriptor, &allowed, flags);
    noteReceived(received);
    return received;
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
