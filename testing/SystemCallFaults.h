// Makes system calls of the product fail on purpose. The test executables are linked with the linker's --wrap, so that
// the calls of everything linked into them (not those of shared libraries) come by here first.
//
// Errors are those of <cerrno> on every system; Windows Sockets report the number of their own that means the same
// (`systemError`).
//
// Faults hold for the thread that ordered them, while a SystemCallFaults object lives: the scripted peers, whose
// threads are others, are never hit.
#ifndef TESTING_SYSTEMCALLFAULTS_H
#define TESTING_SYSTEMCALLFAULTS_H

#include <cstddef>
#include <string>
#include <vector>

/// One address that a name resolves to.
struct ResolvedAddress {
    std::string address; ///< numeric, IPv4 or IPv6
    int port;            ///< taken instead of the one that is asked for; 0: the one that is asked for
};

/// Which call.
enum class SystemCall {
    Start,   ///< WSAStartup, which must ask for version 1.1; elsewhere there is no such call
    Resolve, ///< getaddrinfo
    Socket,
    Connect,
    Send,
    Receive,     ///< recv, recvmsg, WSARecv
    SetOption,   ///< setsockopt
    GetOption,   ///< getsockopt
    Interfaces,  ///< getifaddrs, GetAdaptersAddresses
    NumericName, ///< getnameinfo
    Identify,    ///< UuidCreate; elsewhere there is no such call
    Allocate,    ///< malloc, calloc, realloc; not what Qt and the C++ library take for themselves
    Duplicate,   ///< strdup, UuidToStringA
    FastPath,    ///< WSAIoctl, which must ask for the short way through loopback; elsewhere there is no such call
    Describe,    ///< FormatMessageA, which must ask for an error's text; elsewhere there is no such call
    FreeText,    ///< LocalFree of something, which must be the last such text; elsewhere there is no such call
    NameFolder   ///< SHGetFolderPathW, which must make and look for nothing; elsewhere there is no such call
};
const int kSystemCallCount = 17;

/// What platform::lastSocketError says after a socket call that failed with an error of <cerrno>.
int systemError(int error);

class SystemCallFaults
{
public:
    /// One object at a time.
    SystemCallFaults();
    ~SystemCallFaults();
    SystemCallFaults(const SystemCallFaults &) = delete;
    SystemCallFaults &operator=(const SystemCallFaults &) = delete;

    /// Lets the call number `ordinal` (0: the next one from now) fail with `error` in errno; for Resolve `error` is
    /// its result, as for NameFolder, for Allocate it may be 0. It is not passed on to the system. A send that fails
    /// with ECONNRESET takes the connection with it.
    void fail(SystemCall call, int ordinal, int error);
    /// The same for this call and all that follow.
    void failFrom(SystemCall call, int ordinal, int error);
    /// How often the product made a call since construction.
    int count(SystemCall call) const;
    /// Whether an ordered failure has come to pass.
    bool hasFailed(SystemCall call) const;
    /// Whether both calls have been made since construction, `first` for the first time before `second`.
    bool isInOrder(SystemCall first, SystemCall second) const;

    /// Every name resolves to these addresses, in this order.
    void resolveTo(const std::vector<ResolvedAddress> &addresses);
    /// The resolver reports success and no address at all.
    void resolveToNothing();
    /// The numeric addresses ("ADDRESS:PORT") that were passed to connect, in order.
    std::vector<std::string> connected() const;

    /// A send passes on at most so many bytes and reports them; a recv returns at most so many. 0: no limit.
    void limitSend(std::size_t bytes);
    void limitReceive(std::size_t bytes);
    /// Each recv, send or connect is interrupted (EINTR) once before it is done. An interrupted connect goes on in the
    /// background, as the system does it. Does nothing on Windows, where there are no signals to interrupt a call.
    void interruptEach(SystemCall call);
    /// How often a call has been interrupted.
    int interruptions(SystemCall call) const;

    /// The longest length that a recv was asked for.
    std::size_t longestReceive() const;
};

#endif
