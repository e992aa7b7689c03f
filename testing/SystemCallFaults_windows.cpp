// The functions of Windows' own libraries are called through pointers, which the linker names after them with "__imp_"
// in front: it is these pointers that are replaced.
#include "testing/ReceiveHook.h"
#include "testing/SystemCallPlan.h"

#include <gtest/gtest.h>

#include <iphlpapi.h>
#include <rpc.h>
#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <vector>

using namespace system_call_plan;

namespace {

/// For the calls that leave their error to WSAGetLastError.
bool mustFail(SystemCall call)
{
    int error;
    if (!system_call_plan::mustFail(call, &error))
        return false;
    ::WSASetLastError(systemError(error));
    return true;
}

/// What the hook does must not hide the call's error.
void noteReceived(int bytes)
{
    const int error = ::WSAGetLastError();
    ReceiveHook::noteReceived(bytes);
    ::WSASetLastError(error);
}

/// What FormatMessageA gave last, until it is freed.
std::atomic<void *> describedText(nullptr);

} // namespace

int systemError(int error)
{
    const struct {
        int error;
        int systemError;
    } pairs[] = {{EBADF, WSAENOTSOCK},
                 {ECONNABORTED, WSAECONNABORTED},
                 {ECONNREFUSED, WSAECONNREFUSED},
                 {ECONNRESET, WSAECONNRESET},
                 {EMFILE, WSAEMFILE},
                 {ENOBUFS, WSAENOBUFS},
                 {ENOPROTOOPT, WSAENOPROTOOPT},
                 {EPIPE, WSAESHUTDOWN},
                 {ETIMEDOUT, WSAETIMEDOUT}};
    for (const auto &pair : pairs) {
        if (pair.error == error)
            return pair.systemError;
    }
    return error;
}

std::uint64_t system_call_plan::currentThread()
{
    return static_cast<std::uint64_t>(::GetCurrentThreadId());
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

#define WRAPPED(name)                                                                                                  \
    extern decltype(&::name) __real___imp_##name;                                                                      \
    extern decltype(&::name) __wrap___imp_##name;
#define WRAPPER(name) decltype(&::name) __wrap___imp_##name = wrapped_##name;

WRAPPED(WSAStartup)
WRAPPED(getaddrinfo)
WRAPPED(freeaddrinfo)
WRAPPED(socket)
WRAPPED(connect)
WRAPPED(send)
WRAPPED(recv)
WRAPPED(WSARecv)
WRAPPED(setsockopt)
WRAPPED(getsockopt)
WRAPPED(getnameinfo)
WRAPPED(UuidCreate)
WRAPPED(UuidToStringA)
WRAPPED(WSAIoctl)
WRAPPED(FormatMessageA)
WRAPPED(LocalFree)
WRAPPED(SHGetFolderPathW)
// Declared without the mark of an import, as the C library's functions are: called by name.
ULONG WINAPI __real_GetAdaptersAddresses(ULONG, ULONG, void *, IP_ADAPTER_ADDRESSES *, ULONG *);
void *__real_malloc(size_t);
void *__real_calloc(size_t, size_t);
void *__real_realloc(void *, size_t);

static int WSAAPI wrapped_WSAStartup(WORD version, WSADATA *data)
{
    int error;
    if (system_call_plan::mustFail(SystemCall::Start, &error))
        return error;
    EXPECT_EQ(0x0101, version);
    return __real___imp_WSAStartup(version, data);
}

static int WSAAPI wrapped_getaddrinfo(const char *host, const char *service, const addrinfo *hints, addrinfo **list)
{
    // Any family and streams only, whatever the machine would take without being asked.
    if (hints)
        EXPECT_TRUE(hints->ai_flags == 0 && hints->ai_family == AF_UNSPEC && hints->ai_socktype == SOCK_STREAM &&
                    hints->ai_protocol == 0);
    else
        ADD_FAILURE() << "getaddrinfo without hints";
    int error;
    if (system_call_plan::mustFail(SystemCall::Resolve, &error))
        return error;
    return resolve(service, list) ? 0 : __real___imp_getaddrinfo(host, service, hints, list);
}

static void WSAAPI wrapped_freeaddrinfo(addrinfo *list)
{
    if (!release(list))
        __real___imp_freeaddrinfo(list);
}

static SOCKET WSAAPI wrapped_socket(int family, int type, int protocol)
{
    return mustFail(SystemCall::Socket) ? INVALID_SOCKET : __real___imp_socket(family, type, protocol);
}

static int WSAAPI wrapped_connect(SOCKET socket, const sockaddr *address, int size)
{
    noteConnect(address);
    return mustFail(SystemCall::Connect) ? SOCKET_ERROR : __real___imp_connect(socket, address, size);
}

static int WSAAPI wrapped_send(SOCKET socket, const char *buffer, int size, int flags)
{
    int error;
    if (system_call_plan::mustFail(SystemCall::Send, &error)) {
        if (error == ECONNRESET)
            ::shutdown(socket, SD_BOTH);
        ::WSASetLastError(systemError(error));
        return SOCKET_ERROR;
    }
    return __real___imp_send(socket, buffer, static_cast<int>(allowedToSend(static_cast<std::size_t>(size))), flags);
}

static int WSAAPI wrapped_recv(SOCKET socket, char *buffer, int size, int flags)
{
    if (mustFail(SystemCall::Receive))
        return SOCKET_ERROR;
    const std::size_t room = static_cast<std::size_t>(size);
    const int received = __real___imp_recv(socket, buffer, static_cast<int>(allowedToReceive(room, room)), flags);
    noteReceived(received);
    return received;
}

static int WSAAPI wrapped_WSARecv(SOCKET socket, WSABUF *places, DWORD placeCount, DWORD *received, DWORD *flags,
                                  WSAOVERLAPPED *overlapped, LPWSAOVERLAPPED_COMPLETION_ROUTINE completion)
{
    if (mustFail(SystemCall::Receive))
        return SOCKET_ERROR;
    std::vector<WSABUF> allowed(places, places + placeCount);
    std::size_t size = 0;
    for (const WSABUF &place : allowed)
        size += place.len;
    std::size_t room = allowedToReceive(size, allowed.at(0).len);
    for (WSABUF &place : allowed) {
        place.len = static_cast<ULONG>((std::min)(static_cast<std::size_t>(place.len), room));
        room -= place.len;
    }
    const int result =
        __real___imp_WSARecv(socket, allowed.data(), placeCount, received, flags, overlapped, completion);
    if (result == 0)
        noteReceived(static_cast<int>(*received));
    return result;
}

static int WSAAPI wrapped_setsockopt(SOCKET socket, int level, int name, const char *value, int size)
{
    return mustFail(SystemCall::SetOption) ? SOCKET_ERROR : __real___imp_setsockopt(socket, level, name, value, size);
}

static int WSAAPI wrapped_getsockopt(SOCKET socket, int level, int name, char *value, int *size)
{
    return mustFail(SystemCall::GetOption) ? SOCKET_ERROR : __real___imp_getsockopt(socket, level, name, value, size);
}

static int WSAAPI wrapped_getnameinfo(const sockaddr *address, socklen_t addressSize, char *host, DWORD hostSize,
                                      char *service, DWORD serviceSize, int flags)
{
    int error;
    if (system_call_plan::mustFail(SystemCall::NumericName, &error))
        return error;
    return __real___imp_getnameinfo(address, addressSize, host, hostSize, service, serviceSize, flags);
}

static RPC_STATUS RPC_ENTRY wrapped_UuidCreate(UUID *uuid)
{
    int error;
    if (!system_call_plan::mustFail(SystemCall::Identify, &error))
        return __real___imp_UuidCreate(uuid);
    // No failure, but a warning beside the identifier.
    if (error == RPC_S_UUID_LOCAL_ONLY)
        __real___imp_UuidCreate(uuid);
    return error;
}

static RPC_STATUS RPC_ENTRY wrapped_UuidToStringA(UUID *uuid, RPC_CSTR *text)
{
    int error;
    return system_call_plan::mustFail(SystemCall::Duplicate, &error) ? RPC_S_OUT_OF_MEMORY
                                                                     : __real___imp_UuidToStringA(uuid, text);
}

static int WSAAPI wrapped_WSAIoctl(SOCKET socket, DWORD code, void *input, DWORD inputSize, void *output,
                                   DWORD outputSize, DWORD *written, WSAOVERLAPPED *overlapped,
                                   LPWSAOVERLAPPED_COMPLETION_ROUTINE completion)
{
    // SIO_LOOPBACK_FAST_PATH, switched on, at once.
    EXPECT_EQ(0x98000010u, code);
    const DWORD on = 1;
    EXPECT_TRUE(inputSize == sizeof on && input && std::memcmp(input, &on, sizeof on) == 0);
    EXPECT_TRUE(!output && outputSize == 0 && written && !overlapped && !completion);
    if (mustFail(SystemCall::FastPath))
        return SOCKET_ERROR;
    return __real___imp_WSAIoctl(socket, code, input, inputSize, output, outputSize, written, overlapped, completion);
}

static DWORD WINAPI wrapped_FormatMessageA(DWORD flags, const void *source, DWORD code, DWORD language, char *buffer,
                                           DWORD size, va_list *arguments)
{
    // FORMAT_MESSAGE_ALLOCATE_BUFFER, _FROM_SYSTEM and _IGNORE_INSERTS, in the user's language.
    EXPECT_EQ(0x1300u, flags);
    EXPECT_EQ(0x400u, language);
    EXPECT_TRUE(!source && size == 0 && !arguments);
    int error;
    if (system_call_plan::mustFail(SystemCall::Describe, &error)) {
        ::SetLastError(static_cast<DWORD>(error));
        return 0;
    }
    const DWORD length = __real___imp_FormatMessageA(flags, source, code, language, buffer, size, arguments);
    if (length > 0)
        describedText = *reinterpret_cast<void **>(buffer);
    return length;
}

static HLOCAL WINAPI wrapped_LocalFree(HLOCAL memory)
{
    if (memory) {
        int error;
        system_call_plan::mustFail(SystemCall::FreeText, &error);
        void *const described = describedText.exchange(nullptr);
        EXPECT_TRUE(!described || memory == described) << "a text of FormatMessageA has to be freed first";
    }
    return __real___imp_LocalFree(memory);
}

static HRESULT WINAPI wrapped_SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD kind, wchar_t *path)
{
    // CSIDL_PERSONAL or CSIDL_DESKTOPDIRECTORY with CSIDL_FLAG_DONT_VERIFY, of this user and as they are at present.
    EXPECT_TRUE(folder == 0x4005 || folder == 0x4010) << folder;
    EXPECT_TRUE(!window && !token && kind == SHGFP_TYPE_CURRENT && path);
    int error;
    if (system_call_plan::mustFail(SystemCall::NameFolder, &error)) {
        // What is left there is no answer.
        std::wcscpy(path, L"C:\\");
        return static_cast<HRESULT>(error);
    }
    return __real___imp_SHGetFolderPathW(window, folder, token, kind, path);
}

WRAPPER(WSAStartup)
WRAPPER(getaddrinfo)
WRAPPER(freeaddrinfo)
WRAPPER(socket)
WRAPPER(connect)
WRAPPER(send)
WRAPPER(recv)
WRAPPER(WSARecv)
WRAPPER(setsockopt)
WRAPPER(getsockopt)
WRAPPER(getnameinfo)
WRAPPER(UuidCreate)
WRAPPER(UuidToStringA)
WRAPPER(WSAIoctl)
WRAPPER(FormatMessageA)
WRAPPER(LocalFree)
WRAPPER(SHGetFolderPathW)

ULONG WINAPI __wrap_GetAdaptersAddresses(ULONG family, ULONG flags, void *reserved, IP_ADAPTER_ADDRESSES *adapters,
                                         ULONG *size)
{
    EXPECT_EQ(ULONG(AF_UNSPEC), family);
    EXPECT_EQ(ULONG(GAA_FLAG_INCLUDE_PREFIX), flags);
    int error;
    if (system_call_plan::mustFail(SystemCall::Interfaces, &error))
        return static_cast<ULONG>(error);
    return __real_GetAdaptersAddresses(family, flags, reserved, adapters, size);
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

} // extern "C"
