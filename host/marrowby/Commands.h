// The commands of the host, one function for each. Each works on every one of its arguments, reports those that fail on
// standard error as `NAME: MESSAGE` and returns the exit status.
#ifndef HOST_MARROWBY_COMMANDS_H
#define HOST_MARROWBY_COMMANDS_H

#include "host/marrowby/Paths.h"
#include "host/marrowby/Session.h"

#include <functional>
#include <string>
#include <vector>

typedef std::vector<std::string> Arguments;

struct ListOptions {
    bool directoriesAsFiles; ///< -d
    bool humanSizes;         ///< -h
    bool recursive;          ///< -R
    bool pathsOnly;          ///< -C
    bool byTime;             ///< -t
    bool bySize;             ///< -S
    bool reversed;           ///< -r
    bool accessTime;         ///< -u
};
int list(Session &session, const ListOptions &options, const Arguments &paths);

int stat(Session &session, const std::string &format, const Arguments &paths);
/// `what` is one of "defszrw".
int test(Session &session, char what, const std::string &path);

int makeDirectories(Session &session, bool withParents, const Arguments &paths);
int remove(Session &session, bool recursive, bool isMissingFine, const Arguments &paths);
int move(Session &session, const Arguments &paths);
/// Files only; of a directory, all files below it.
int setReplication(Session &session, unsigned replication, const Arguments &paths);
/// Throws std::invalid_argument when `mode` is none.
int changeMode(Session &session, bool recursive, const std::string &mode, const Arguments &paths);
/// `owner` is OWNER, OWNER:GROUP or :GROUP.
int changeOwner(Session &session, bool recursive, const std::string &owner, const Arguments &paths);

int concatenate(Session &session, const Arguments &paths);
int head(Session &session, const std::string &path);
int tail(Session &session, const std::string &path);

struct GetOptions {
    bool overwrite; ///< -f
};
/// The last of `paths` is local: a file, a directory, or "-" for standard output.
int get(Session &session, const GetOptions &options, const Arguments &paths);

/// Runs `work` for each argument that is found, in order, and reports those that are not, or that fail, as the command
/// `name`.
int forEachPath(Session &session, const char *name, const Arguments &paths,
                const std::function<void(const PathArgument &)> &work);

/// As forEachPath for one thing that may fail: 0, or kExitFailed after the report.
int attempt(const char *name, const std::function<void()> &work);

/// Runs `work` for `argument` and, when it is a directory, for everything below it, the directory first.
void forWholeTree(Session &session, const PathArgument &argument,
                  const std::function<void(const PathArgument &)> &work);

#endif
