#include "testing/SocketErrors.h"

#include "platform/Sockets.h"
#include "testing/SocketOptions.h"
#include "testing/SystemCallFaults.h"

#include <cerrno>

std::string socketErrorOf(int error)
{
    const int number = systemError(error);
    return std::to_string(number) + "\n  " + platform::socketErrorText(number);
}

std::string resetError()
{
    return showsResets() ? socketErrorOf(ECONNRESET) : "*";
}
