// What was typed: options for the whole run, a command, and what belongs to that.
//
//     marrowby [--namenode HOST:PORT] [--user NAME] ... COMMAND [OPTION]... [PATH]...
//
// A command may also be written with a dash before it and its options of several letters with only one, as people know
// them from `hdfs dfs`. Options may stand behind paths; "--" ends them.
#ifndef HOST_MARROWBY_COMMANDLINE_H
#define HOST_MARROWBY_COMMANDLINE_H

#include "host/marrowby/Command.h"
#include "host/marrowby/Session.h"

#include <stdexcept>
#include <string>
#include <vector>

struct CommandLine {
    SessionOptions session;
    const CommandDescription *command = nullptr; ///< never null when parsing returned
    CommandArguments arguments;
};

/// A text for standard output in place of any work; exit status 0.
class HelpWanted : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A command line that makes no sense; the text is complete, with the usage. Exit status 255.
class BadCommandLine : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// `arguments`: without the program's name. Throws HelpWanted or BadCommandLine.
CommandLine parseCommandLine(const std::vector<std::string> &arguments);

/// "Usage: marrowby ls [-C] ..."
std::string usageLine(const CommandDescription &command);

#endif
