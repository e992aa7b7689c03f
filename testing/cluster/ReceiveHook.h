// Does something in the middle of what a thread receives: slows it down, or ends the server that it receives from.
#ifndef TESTING_CLUSTER_RECEIVEHOOK_H
#define TESTING_CLUSTER_RECEIVEHOOK_H

#include <cstdint>
#include <functional>

/// Calls `function` behind every `recv` and `recvmsg` of this thread while the object lives. One object at a time and
/// thread.
class ReceiveHook
{
public:
    /// `received` is the number of bytes since the object was made.
    typedef std::function<void(std::int64_t received)> Function;

    explicit ReceiveHook(Function function);
    ~ReceiveHook();
    ReceiveHook(const ReceiveHook &) = delete;
    ReceiveHook &operator=(const ReceiveHook &) = delete;

    void received(std::int64_t bytes);

private:
    Function m_function;
    std::int64_t m_received;
};

#endif
