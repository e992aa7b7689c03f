#include "host/marrowby/CommandLine.h"

#include "host/marrowby/Commands.h"
#include "host/marrowby/ConnectionSettings.h"
#include "host/marrowby/Options.h"

#include <algorithm>

namespace {

typedef std::vector<std::string> Words;

const std::size_t kHelpWidth = 90;
const char kSeeHelp[] = "`marrowby --help` tells more.";

bool startsWithDash(const std::string &word)
{
    return word.size() > 1 && word[0] == '-';
}

/// Options that every command with a connection takes, before and behind its name.
const std::vector<OptionDescription> &sessionOptions()
{
    static const std::vector<OptionDescription> options = {
        {"--namenode", "this NameNode in place of the stored one", "HOST:PORT"},
        {"--user", "work as this user in place of the stored one", "NAME"},
        {"--plugin", "this plug-in in place of the library QuorHDFS beside the program", "FILE"},
        {"--webhdfs", "read files through WebHDFS", ""},
        {"--no-webhdfs", "read files from the DataNodes directly", ""},
        {"--abandon-block", "give a block that could not be written back before asking for the next", ""},
        {"--no-abandon-block", "ask for the next block without giving it back", ""},
        {"--verbose", "show what the plug-in logs", ""}};
    return options;
}

OptionDescription propertyOption()
{
    return {kPropertyOption, "how they are written; marrowby put --help tells more", "NAME=VALUE"};
}

/// What stands before a command's name.
const std::vector<OptionDescription> &programOptions()
{
    static const std::vector<OptionDescription> options = [] {
        std::vector<OptionDescription> all = sessionOptions();
        all.push_back(propertyOption());
        all.push_back({"--version", "the version of the program", ""});
        return all;
    }();
    return options;
}

/// Broken into lines at spaces; lines that begin with a space are left as they are.
std::string wrapped(const std::string &text, std::size_t width)
{
    std::string result;
    std::size_t column = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
        if (column == 0 && text[at] == ' ') {
            result += text.substr(at, lineEnd - at);
            at = lineEnd;
        } else {
            const std::size_t end = std::min(text.find(' ', at), lineEnd);
            const std::string word = text.substr(at, end - at);
            if (column > 0 && column + 1 + word.size() > width) {
                result += '\n';
                column = 0;
            } else if (column > 0) {
                result += ' ';
                ++column;
            }
            result += word;
            column += word.size();
            at = end + (end < lineEnd ? 1 : 0);
        }
        if (at == lineEnd && at < text.size()) {
            result += '\n';
            column = 0;
            ++at;
        }
    }
    return result;
}

std::string programHelp()
{
    std::string text = "Works on HDFS through the plug-in QuorHDFS.\n"
                       "Usage: marrowby [OPTION]... COMMAND [ARGUMENT]...\n\nCommands:\n";
    for (const CommandDescription &command : allCommands())
        text += "  " + command.name + std::string(26 - 2 - command.name.size(), ' ') + command.summary + '\n';
    OptionReader options;
    options.add(sessionOptions(), "Options for this run, before or behind the command's name");
    options.add({propertyOption()}, "The same, for commands that write files");
    text += options.help() + '\n';
    return text +
           "\nA path is absolute, or relative to the user's home directory /user/NAME, or begins with hdfs://.\n"
           "* ? [a-c] {a,b} in it match names, a backslash takes their meaning away.\n"
           "`marrowby COMMAND --help` tells more about a command; `marrowby configure` shows where to connect to.\n"
           "The plug-in's log is appended to the file that the environment variable MARROWBY_LOG names.\n"
           "Exit status: 0 done, 1 something failed, 255 wrong usage, 130 interrupted.";
}

std::string commandHelp(const CommandDescription &command)
{
    OptionReader options(usageLine(command) + "\n\n" + wrapped(command.details, kHelpWidth));
    options.add(command.options, "Options");
    if (command.usesPlugin())
        options.add(sessionOptions(), "Options for this run");
    return options.help();
}

/// The number of words before the command's name.
std::size_t positionOfCommand(const Words &words)
{
    std::size_t at = 0;
    while (at < words.size() && startsWithDash(words[at]) && !findCommand(words[at].substr(1)) &&
           words[at] != "-help") {
        const OptionDescription *const option = findOption(programOptions(), words[at]);
        const bool valueFollows =
            option && !option->value.empty() && words[at].find('=') == std::string::npos && at + 1 < words.size();
        at += valueFollows ? 2 : 1;
    }
    return at;
}

struct Separated {
    Words options;
    std::vector<QByteArray> operands;
};

/// Options, wherever they stand, from operands. CLI11 would take "[ab]" for a list.
Separated separate(const CommandDescription &command, const Words &words)
{
    Separated separated;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const std::string &word = words[at];
        const QByteArray bytes = QByteArray::fromStdString(word);
        if (word == "--") {
            for (++at; at < words.size(); ++at)
                separated.operands.push_back(QByteArray::fromStdString(words[at]));
            break;
        }
        const OptionDescription *option = findOption(command.options, word);
        if (!option && command.usesPlugin())
            option = findOption(sessionOptions(), word);
        if (!startsWithDash(word) || (!option && command.isOperand && command.isOperand(bytes))) {
            separated.operands.push_back(bytes);
            continue;
        }
        separated.options.push_back(word);
        if (option && !option->value.empty() && word.find('=') == std::string::npos && at + 1 < words.size())
            separated.options.push_back(words[++at]);
    }
    return separated;
}

void takeSessionOptions(const OptionReader &reader, SessionOptions *session)
{
    for (const auto &value : reader.values()) {
        const QString text = QString::fromLocal8Bit(value.second.c_str());
        if (value.first == "--namenode")
            checkedAddress(value.second, &session->nameNode);
        else if (value.first == "--user")
            session->user = text;
        else if (value.first == "--plugin")
            session->plugin = text;
    }
    if (reader.given().count("--webhdfs"))
        session->webHdfs = 1;
    if (reader.given().count("--no-webhdfs"))
        session->webHdfs = 0;
    if (reader.given().count("--abandon-block"))
        session->abandonBlock = 1;
    if (reader.given().count("--no-abandon-block"))
        session->abandonBlock = 0;
    session->verbose = session->verbose || reader.given().count("--verbose");
}

void checkOperandCount(const CommandDescription &command, std::size_t count)
{
    const auto refuse = [&](const char *which, int expected) {
        throw BadCommandLine('-' + command.name + ": " + which + " arguments: expected " + std::to_string(expected) +
                             " but got " + std::to_string(count) + '\n' + usageLine(command));
    };
    if (count < static_cast<std::size_t>(command.fewestOperands))
        refuse("Not enough", command.fewestOperands);
    if (command.mostOperands >= 0 && count > static_cast<std::size_t>(command.mostOperands))
        refuse("Too many", command.mostOperands);
}

[[noreturn]] void helpOn(const Words &words)
{
    if (words.empty())
        throw HelpWanted(programHelp());
    const std::string name = words.front().substr(words.front()[0] == '-' ? 1 : 0);
    const CommandDescription *const command = findCommand(name);
    if (!command)
        throw BadCommandLine("-help: `" + name + "': Unknown command\n" + kSeeHelp);
    throw HelpWanted(commandHelp(*command));
}

void parseProgramOptions(const Words &words, CommandLine *line)
{
    OptionReader reader;
    reader.add(programOptions(), "Options");
    try {
        reader.read(words);
    } catch (const OptionReader::Help &) {
        throw HelpWanted(programHelp());
    } catch (const OptionReader::Error &error) {
        throw BadCommandLine(std::string("marrowby: ") + error.what() + '\n' + kSeeHelp);
    }
    if (reader.given().count("--version"))
        throw HelpWanted("marrowby " MARROWBY_VERSION);
    takeSessionOptions(reader, &line->session);
    line->arguments.properties = reader.properties();
}

} // namespace

std::string usageLine(const CommandDescription &command)
{
    return "Usage: marrowby " + command.name + (command.synopsis.empty() ? "" : " " + command.synopsis);
}

CommandLine parseCommandLine(const std::vector<std::string> &arguments)
{
    CommandLine line;
    const std::size_t position = positionOfCommand(arguments);
    const Words before(arguments.begin(), arguments.begin() + static_cast<std::ptrdiff_t>(position));
    parseProgramOptions(before, &line);
    if (position == arguments.size())
        throw BadCommandLine(programHelp());

    const std::string &typed = arguments[position];
    const Words behind(arguments.begin() + static_cast<std::ptrdiff_t>(position) + 1, arguments.end());
    if (typed == "help" || typed == "-help")
        helpOn(behind);
    line.command = findCommand(typed[0] == '-' ? typed.substr(1) : typed);
    if (!line.command)
        throw BadCommandLine(typed + ": Unknown command\n" + kSeeHelp);

    const Separated separated = separate(*line.command, behind);
    OptionReader reader;
    reader.add(line.command->options, "Options");
    if (line.command->usesPlugin())
        reader.add(sessionOptions(), "Options");
    try {
        reader.read(separated.options);
    } catch (const OptionReader::Help &) {
        throw HelpWanted(commandHelp(*line.command));
    } catch (const OptionReader::Error &error) {
        throw BadCommandLine('-' + line.command->name + ": " + error.what() + '\n' + usageLine(*line.command));
    }
    checkOperandCount(*line.command, separated.operands.size());
    if (line.command->usesPlugin())
        takeSessionOptions(reader, &line.session);
    line.arguments.options = reader.given();
    line.arguments.values = reader.values();
    line.arguments.properties.insert(line.arguments.properties.end(), reader.properties().begin(),
                                     reader.properties().end());
    line.arguments.operands = separated.operands;
    return line;
}
