// Faults that happen in the middle of what a test does.
#ifndef TESTING_CLUSTER_FAULTTOOLS_H
#define TESTING_CLUSTER_FAULTTOOLS_H

#include "testing/RealCluster.h"
#include "testing/ReceiveHook.h"

#include <chrono>
#include <functional>
#include <thread>

/// Calls `function` once, when so many bytes have come.
class OnceReceived
{
public:
    OnceReceived(std::int64_t bytes, std::function<void()> function)
        : m_isDone(false), m_hook([=](std::int64_t received) {
              if (received >= bytes && !m_isDone) {
                  m_isDone = true;
                  function();
              }
          })
    {
    }
    bool isDone() const { return m_isDone; }

private:
    bool m_isDone;
    ReceiveHook m_hook;
};

/// Continues a server after a while, from a thread of its own.
class LaterContinue
{
public:
    LaterContinue(const RealCluster &cluster, const QByteArray &node, int milliseconds)
        : m_thread([&cluster, node, milliseconds] {
              std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
              cluster.resume(node);
          })
    {
    }
    ~LaterContinue() { m_thread.join(); }

private:
    std::thread m_thread;
};

#endif
