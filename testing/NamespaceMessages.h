// What a NameNode says about its namespace, for tests that need some answer and not a particular one.
#ifndef TESTING_NAMESPACEMESSAGES_H
#define TESTING_NAMESPACEMESSAGES_H

#include "testing/proto/OracleClientProtocol.pb.h"

#include <string>
#include <vector>

/// A regular file with every field that the product takes over: mode 0640, 3 replicas, length 12345.
hadoop::oracle::HdfsFileStatusProto fileStatus(const std::string &name);

/// Adds everything to it that a newer server may add and that the product skips.
void addNewerFields(hadoop::oracle::HdfsFileStatusProto *status);

hadoop::oracle::GetListingResponseProto listingPage(const std::vector<std::string> &names, std::uint32_t remaining);

/// The answer about one path without newer fields.
hadoop::oracle::GetFileInfoResponseProto fileInfoOf(hadoop::oracle::HdfsFileStatusProto::FileType type);

/// The counters 1 to 6, in order.
hadoop::oracle::GetFsStatsResponseProto fsStats();

#endif
