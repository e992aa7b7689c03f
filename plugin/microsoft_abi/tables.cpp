// Compiled, not run: makes the compiler lay out what crosses the boundary between the host and the library.
#include "plugin/ImplementationQuorHDFSPluginInterface.h"
#include "plugin/QuorHDFSPluginInterface.h"
#include "rpc/HdfsFileStatus.h"

/// What a host's compiler makes of the interface.
struct Derived : QuorHDFSPluginInterface {
    Derived();
};
Derived::Derived() {}

QObject *makeRoot()
{
    return new ImplementationQuorHDFSPluginInterface;
}

HdfsFileStatus status;
