// Paths as they are given on the command line and as they are shown.
#ifndef HOST_MARROWBY_PATHS_H
#define HOST_MARROWBY_PATHS_H

#include "host/marrowby/Session.h"

#include <string>
#include <vector>

/// A path of the command line that has been looked up.
struct PathArgument {
    std::string shown; ///< as the user wrote it, or as it was found through a pattern
    std::string path;  ///< absolute
    bool exists;
    Entry entry; ///< when it exists
};

/// The absolute form of `given`: relative paths start at /user/USER, "." and ".." and doubled slashes are resolved,
/// "hdfs://HOST:PORT" in front is dropped.
std::string absolutePath(const std::string &given, const std::string &user);

/// What follows the last "/"; "" for "/".
std::string baseName(const std::string &path);

/// The directory of an absolute path; "/" for "/".
std::string parentPath(const std::string &path);

/// `name` below `directory`, with one slash between; just the name when the directory is ".".
std::string childPath(const std::string &directory, const std::string &name);

/// Looks `given` up. Patterns are expanded in the order of names; a pattern that matches nothing, like a missing path,
/// gives one argument that does not exist. Throws Failure.
std::vector<PathArgument> lookUp(Session &session, const std::string &given);

/// One path without patterns.
PathArgument lookUpOne(Session &session, const std::string &given);

/// Names in the order in which they are listed.
bool isListedBefore(const Entry &first, const Entry &second);

#endif
