// Process-wide start of the network layer.
#ifndef RPC_NETWORK_H
#define RPC_NETWORK_H

/// Starts the system's socket library and collects this machine's IPv4 addresses. The first success holds for
/// the life of the process and later calls do nothing. Not guarded against two threads at once.
/// 0 = ready, 1 = failed.
int initNetwork();

/// True when `address` equals, byte by byte, one of the addresses that initNetwork collected.
bool isLocalAddress(const char *address);

#endif
