// How a command of the host fails.
#ifndef HOST_MARROWBY_FAILURE_H
#define HOST_MARROWBY_FAILURE_H

#include <stdexcept>
#include <string>

/// Exit statuses, as `hdfs dfs` has them.
const int kExitDone = 0;
const int kExitFailed = 1;
const int kExitUsage = 255;
const int kExitInterrupted = 130;

/// One argument could not be worked on; the command goes on with the next one and ends with kExitFailed. The text is
/// shown behind the command's name.
class Failure : public std::runtime_error
{
public:
    explicit Failure(const std::string &text) : std::runtime_error(text) {}
};

/// "`/x': No such file or directory" and its like.
inline Failure pathFailure(const std::string &path, const std::string &what)
{
    return Failure("`" + path + "': " + what);
}

const char kNotFound[] = "No such file or directory";
const char kIsDirectory[] = "Is a directory";
const char kIsNotDirectory[] = "Is not a directory";
const char kExists[] = "File exists";

/// The user asked to stop.
class Interrupted : public std::exception
{
};

#endif
