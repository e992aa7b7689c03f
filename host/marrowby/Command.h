// What a command is, and what one gets to work with.
#ifndef HOST_MARROWBY_COMMAND_H
#define HOST_MARROWBY_COMMAND_H

#include "host/marrowby/FileSystem.h"
#include "host/marrowby/Messages.h"
#include "host/marrowby/Output.h"
#include "host/marrowby/PathNames.h"

#include <QtCore/QByteArray>

#include <map>
#include <set>
#include <string>
#include <vector>

struct CommandContext;

/// An option of a command. Options of several letters that begin with one dash ("-skipTrash") are possible, as people
/// know them from `hdfs dfs`.
struct OptionDescription {
    std::string name;
    std::string help;
    std::string value; ///< how the help calls its value; empty: it takes none
};

struct CommandDescription {
    std::string name;
    std::string synopsis; ///< behind the name in a usage line
    std::string summary;  ///< one line for the list of commands
    std::string details;  ///< paragraphs for the command's own help
    std::vector<OptionDescription> options;
    int fewestOperands;
    int mostOperands; ///< -1: any number
    /// Whether an argument that begins with "-" and is no option is an operand nevertheless; may be null.
    bool (*isOperand)(const QByteArray &argument);
    /// Does it. Failures of single paths are reported through the context's messages. Null for a command without a
    /// connection.
    void (*run)(CommandContext &context);
    /// Whether it shows windows. Such a command makes its connection itself, if it needs one.
    bool hasWindows = false;

    /// Whether the options for one run (--namenode ...) mean something to it.
    bool usesPlugin() const { return run || hasWindows; }
};

/// The option that may be given several times, for NAME=VALUE.
const char kPropertyOption[] = "-D";

/// What was typed behind a command's name.
struct CommandArguments {
    std::set<std::string> options;             ///< the names of the options given, also those with a value
    std::map<std::string, std::string> values; ///< of those that take one
    std::vector<std::string> properties;       ///< NAME=VALUE of every -D, also of those before the command's name
    std::vector<QByteArray> operands;

    bool has(const char *option) const { return options.count(option) != 0; }
};

struct CommandContext {
    const CommandArguments &arguments;
    FileSystem &files;
    const PathNames &names;
    Messages &messages;
    Output &output;
    int exitStatus; ///< what the command ends with when no message was reported
};

#endif
