// Does something in the middle of what a thread receives: slows it down, or ends the server that it receives from.
#ifndef TESTING_RECEIVEHOOK_H
#define TESTING_RECEIVEHOOK_H

#include <cstdint>
#include <functional>

/// Calls `function` behind every receive of the product's on this thread while the object lives. One object at a time.
class ReceiveHook
{
public:
    /// `received` is the number of bytes since the object was made.
    typedef std::function<void(std::int64_t received)> Function;

    explicit ReceiveHook(Function function);
    ~ReceiveHook();
    ReceiveHook(const ReceiveHook &) = delete;
    ReceiveHook &operator=(const ReceiveHook &) = delete;

    /// For what stands in the place of the system's calls (SystemCallFaults): so many bytes have come; 0 and less do
    /// not count.
    static void noteReceived(std::int64_t bytes);

private:
    void received(std::int64_t bytes);

    Function m_function;
    std::int64_t m_received;
};

#endif
