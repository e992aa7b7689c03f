#include "testing/OpenDescriptors.h"

#include <winsock2.h>

namespace {

HANDLE handleOf(int number)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(number));
}

bool isSocket(int number)
{
    int type;
    int size = sizeof type;
    return ::getsockopt(static_cast<SOCKET>(number), SOL_SOCKET, SO_TYPE, reinterpret_cast<char *>(&type), &size) == 0;
}

} // namespace

/// Sockets and files. Windows keeps threads, locks and much else behind handles, too, which come and go with its
/// libraries.
std::set<int> OpenDescriptors::openNow()
{
    std::set<int> open;
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    // Handles are multiples of 4, and the lowest free one is the next; gaps are where others were closed.
    const int behindLast = 4 * (2 * static_cast<int>(count) + 256);
    for (int number = 4; number < behindLast; number += 4) {
        if (isSocket(number) || ::GetFileType(handleOf(number)) == FILE_TYPE_DISK)
            open.insert(number);
    }
    return open;
}

void OpenDescriptors::closeOne(int number)
{
    if (isSocket(number))
        ::closesocket(static_cast<SOCKET>(number));
    else
        ::CloseHandle(handleOf(number));
}
