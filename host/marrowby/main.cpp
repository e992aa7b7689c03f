// marrowby: the host application's stand-in on a command line. It reaches HDFS only through the plug-in, which it loads
// as the host does.
#include "host/marrowby/Commands.h"
#include "host/marrowby/Failure.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/StoredConnection.h"

#include <CLI/CLI.hpp>

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <set>

namespace {

const char kVersion[] = "marrowby 1.0";

/// What the command line asks for.
struct Request {
    std::string nameNode;
    std::string user;
    std::string plugin;
    bool webHdfs = false;
    /// Runs the command; null when there is none to run, as for `configure`, which `local` does.
    std::function<int(Session &)> command;
    std::function<int()> local;
};

QString text(const std::string &utf8)
{
    return QString::fromUtf8(utf8.c_str());
}

ConnectionValues connectionValues(const std::string &nameNode, const std::string &user)
{
    ConnectionValues values;
    if (!nameNode.empty())
        values.nameNode = text(nameNode);
    if (!user.empty())
        values.user = text(user);
    return values;
}

/// The option's target lives as long as the command line is parsed and run.
template <class Value> std::shared_ptr<Value> held()
{
    return std::make_shared<Value>();
}

CLI::Option *addPaths(CLI::App *command, std::shared_ptr<Arguments> paths, const char *description)
{
    return command->add_option("path", *paths, description);
}

void addList(CLI::App &app, Request *request)
{
    CLI::App *command = app.add_subcommand("ls", "List files and directories");
    const auto options = held<ListOptions>();
    const auto paths = held<Arguments>();
    *options = ListOptions();
    command->add_flag("-d", options->directoriesAsFiles, "List directories as plain entries");
    command->add_flag("-h", options->humanSizes, "Sizes for people: 64.0 M instead of 67108864");
    command->add_flag("-R", options->recursive, "List what is in subdirectories, too");
    command->add_flag("-C", options->pathsOnly, "Paths only");
    command->add_flag("-t", options->byTime, "Sort by modification time, latest first");
    command->add_flag("-S", options->bySize, "Sort by size, largest first");
    command->add_flag("-r", options->reversed, "Reverse the order");
    command->add_flag("-u", options->accessTime, "Show and sort by the time of the last access");
    addPaths(command, paths, "What to list; the home directory when missing");
    command->callback([=] { request->command = [=](Session &session) { return list(session, *options, *paths); }; });
}

void addStat(CLI::App &app, Request *request)
{
    CLI::App *command = app.add_subcommand("stat", "Show what is known of a file or directory");
    const auto arguments = held<Arguments>();
    command->add_option("arguments", *arguments, "[FORMAT] PATH...")->required();
    command->footer(
        "FORMAT is a text with a % in it: %a mode in octal, %A in letters, %b bytes, %F type, %g group, %n name,\n"
        "%o block size, %r replication, %u owner, %x %X last access, %y %Y modification (UTC, milliseconds).\n"
        "Without one it is %y.");
    command->callback([=] {
        request->command = [=](Session &session) {
            const bool hasFormat = arguments->front().find('%') != std::string::npos;
            const Arguments paths(arguments->begin() + (hasFormat ? 1 : 0), arguments->end());
            return stat(session, hasFormat ? arguments->front() : "%y", paths);
        };
    });
}

void addTest(CLI::App &app, Request *request)
{
    CLI::App *command = app.add_subcommand("test", "Answer a question about a path with the exit status: 0 yes, 1 no");
    CLI::Option_group *questions = command->add_option_group("questions");
    const std::pair<char, const char *> kQuestions[] = {
        {'d', "it is a directory"},       {'e', "it exists"},      {'f', "it is a file"},
        {'s', "it is not empty"},         {'r', "it may be read"}, {'w', "it may be written"},
        {'z', "it is a file of 0 bytes"},
    };
    const auto asked = held<std::string>();
    for (const auto &question : kQuestions) {
        const char letter = question.first;
        questions->add_flag_function(
            std::string("-") + letter, [=](std::int64_t) { *asked = letter; }, question.second);
    }
    questions->require_option(1);
    const auto path = held<std::string>();
    command->add_option("path", *path)->required();
    command->callback(
        [=] { request->command = [=](Session &session) { return test(session, asked->front(), *path); }; });
}

void addNamespaceChanges(CLI::App &app, Request *request)
{
    CLI::App *mkdir = app.add_subcommand("mkdir", "Make directories");
    const auto withParents = held<bool>();
    const auto directories = held<Arguments>();
    mkdir->add_flag("-p", *withParents, "Make missing parents; do not mind a directory that is there");
    addPaths(mkdir, directories, "The directories")->required();
    mkdir->callback([=] {
        request->command = [=](Session &session) { return makeDirectories(session, *withParents, *directories); };
    });

    CLI::App *rm = app.add_subcommand("rm", "Delete files and directories");
    const auto recursive = held<bool>();
    const auto isMissingFine = held<bool>();
    const auto skipTrash = held<bool>();
    const auto doomed = held<Arguments>();
    rm->add_flag("-r,-R", *recursive, "Delete directories with all that is in them");
    rm->add_flag("-f", *isMissingFine, "Do not mind what is not there");
    rm->add_flag("--skipTrash", *skipTrash, "Taken for the sake of scripts: nothing goes to a trash here");
    addPaths(rm, doomed, "What to delete");
    rm->callback([=] {
        if (doomed->empty() && !*isMissingFine)
            throw CLI::RequiredError("path");
        request->command = [=](Session &session) { return remove(session, *recursive, *isMissingFine, *doomed); };
    });

    CLI::App *mv = app.add_subcommand("mv", "Rename or move files and directories");
    const auto moved = held<Arguments>();
    addPaths(mv, moved, "SOURCE... DESTINATION")->required()->expected(2, 1 << 20);
    mv->callback([=] { request->command = [=](Session &session) { return move(session, *moved); }; });

    CLI::App *setrep = app.add_subcommand("setrep", "Set the replication of files");
    const auto replication = held<unsigned>();
    const auto replicated = held<Arguments>();
    const auto ignored = held<bool>();
    setrep->add_flag("-R", *ignored, "Taken for the sake of scripts: directories always mean all files below them");
    setrep->add_option("replication", *replication)->required()->check(CLI::Range(1, 32767));
    addPaths(setrep, replicated, "The files")->required();
    setrep->callback([=] {
        request->command = [=](Session &session) { return setReplication(session, *replication, *replicated); };
    });
}

void addOwnershipChanges(CLI::App &app, Request *request)
{
    CLI::App *chmod = app.add_subcommand("chmod", "Change permissions");
    const auto withTree = held<bool>();
    const auto mode = held<std::string>();
    const auto changed = held<Arguments>();
    chmod->add_flag("-R", *withTree, "Also of everything below");
    chmod->add_option("mode", *mode, "755, 1777, u+x, go-w, a=rX, +t ...")->required();
    addPaths(chmod, changed, "The files and directories")->required();
    chmod->callback(
        [=] { request->command = [=](Session &session) { return changeMode(session, *withTree, *mode, *changed); }; });

    CLI::App *chown = app.add_subcommand("chown", "Change owner and group");
    const auto withTreeToo = held<bool>();
    const auto owner = held<std::string>();
    const auto owned = held<Arguments>();
    chown->add_flag("-R", *withTreeToo, "Also of everything below");
    chown->add_option("owner", *owner, "OWNER, OWNER:GROUP or :GROUP")->required();
    addPaths(chown, owned, "The files and directories")->required();
    chown->callback([=] {
        request->command = [=](Session &session) { return changeOwner(session, *withTreeToo, *owner, *owned); };
    });
}

void addTransfers(CLI::App &app, Request *request)
{
    CLI::App *cat = app.add_subcommand("cat", "Write files to standard output");
    const auto shown = held<Arguments>();
    addPaths(cat, shown, "The files")->required();
    cat->callback([=] { request->command = [=](Session &session) { return concatenate(session, *shown); }; });

    CLI::App *first = app.add_subcommand("head", "Write the first kilobyte of a file to standard output");
    CLI::App *last = app.add_subcommand("tail", "Write the last kilobyte of a file to standard output");
    const auto path = held<std::string>();
    first->add_option("path", *path)->required();
    last->add_option("path", *path)->required();
    first->callback([=] { request->command = [=](Session &session) { return head(session, *path); }; });
    last->callback([=] { request->command = [=](Session &session) { return tail(session, *path); }; });

    CLI::App *fetch = app.add_subcommand("get", "Copy files and directories to this machine");
    const auto options = held<GetOptions>();
    const auto paths = held<Arguments>();
    *options = GetOptions();
    fetch->add_flag("-f", options->overwrite, "Overwrite files that are there");
    addPaths(fetch, paths, "SOURCE... [DESTINATION]; \"-\" is standard output, the working directory when missing")
        ->required();
    fetch->callback([=] { request->command = [=](Session &session) { return get(session, *options, *paths); }; });
}

int configure(const ConnectionValues &values)
{
    const bool isChange = !values.nameNode.isNull() || !values.user.isNull() || !values.webHdfs.isNull();
    if (isChange && !storeConnectionValues(values)) {
        std::fputs("configure: the settings could not be written\n", stderr);
        return kExitFailed;
    }
    const ConnectionValues stored = storedConnectionValues();
    std::printf("namenode  %s\n", stored.nameNode.isEmpty() ? "(none)" : stored.nameNode.toUtf8().constData());
    std::printf("user      %s\n",
                stored.user.isEmpty() ? "(the operating system's)" : stored.user.toUtf8().constData());
    std::printf("webhdfs   %s\n", stored.webHdfs.toUtf8().constData());
    return kExitDone;
}

void addConfigure(CLI::App &app, Request *request)
{
    CLI::App *command = app.add_subcommand("configure", "Show or change the stored connection settings");
    const auto nameNode = held<std::string>();
    const auto user = held<std::string>();
    const auto webHdfs = held<std::string>();
    command->add_option("--namenode", *nameNode, "HOST[:PORT] of the NameNode");
    CLI::Option *userOption = command->add_option("--user", *user, "HDFS user name; \"\" for the operating system's");
    command->add_option("--webhdfs", *webHdfs, "1: read through WebHDFS, 0: from the DataNodes")
        ->check(CLI::IsMember({"0", "1"}));
    command->callback([=] {
        request->local = [=] {
            ConnectionValues values = connectionValues(*nameNode, *user);
            if (userOption->count() > 0)
                values.user = text(*user).isNull() ? QString::fromLatin1("") : text(*user);
            if (!webHdfs->empty())
                values.webHdfs = text(*webHdfs);
            return configure(values);
        };
    });
}

/// Command lines as people type them for `hdfs dfs`: a dash in front of the command, long options with one dash, modes
/// that begin with a dash.
Arguments inOurWords(int argc, char **argv, const CLI::App &app)
{
    Arguments words(argv + 1, argv + argc);
    std::set<std::string> commands;
    for (const CLI::App *command : app.get_subcommands({}))
        commands.insert(command->get_name());
    std::size_t at = 0;
    while (at < words.size() && !commands.count(words[at]) &&
           !(words[at][0] == '-' && commands.count(words[at].substr(1))))
        ++at;
    if (at == words.size())
        return words;
    if (words[at][0] == '-')
        words[at].erase(0, 1);
    const std::string command = words[at];
    for (std::size_t i = at + 1; i < words.size() && words[i] != "--"; ++i) {
        if (words[i] == "-skipTrash")
            words[i] = "--skipTrash";
        const bool isMode = words[i].size() > 1 && words[i][0] == '-' && words[i] != "-R" && words[i][1] != '-';
        if (command == "chmod" && isMode) {
            words.insert(words.begin() + static_cast<Arguments::difference_type>(i), "--");
            break;
        }
    }
    return words;
}

void describe(CLI::App *app, Request *request)
{
    app->description("Works on HDFS through the host's plug-in, with the commands of `hdfs dfs`.");
    app->require_subcommand(1);
    app->set_version_flag("--version", kVersion);
    app->set_help_flag("--help", "Show this text");
    app->add_option("--namenode", request->nameNode, "HOST[:PORT], for this run");
    app->add_option("--user", request->user, "HDFS user name, for this run");
    app->add_option("--plugin", request->plugin, "The plug-in's library; the one beside this program when missing");
    app->add_flag("--webhdfs", request->webHdfs, "Read through WebHDFS, for this run");
    app->footer("Exit status: 0 done, 1 some of it failed, 255 the command line is wrong.\n"
                "What the plug-in logs goes to standard error, or to the file that MARROWBY_LOG names.");
    addList(*app, request);
    addStat(*app, request);
    addTest(*app, request);
    addNamespaceChanges(*app, request);
    addOwnershipChanges(*app, request);
    addTransfers(*app, request);
    addConfigure(*app, request);
    for (CLI::App *command : app->get_subcommands({}))
        command->set_help_flag("--help", "Show this text");
}

/// The plug-in falls back to this variable for the user name; it is Windows that sets it.
void provideUserName()
{
    for (const char *name : {"USERNAME", "USER", "LOGNAME"}) {
        const QByteArray user = qgetenv(name);
        if (!user.isEmpty()) {
            qputenv("USERNAME", user);
            return;
        }
    }
}

int run(const Request &request)
{
    if (request.local)
        return request.local();
    platform::TemporarySettingsStore store;
    ConnectionValues values = connectionValues(request.nameNode, request.user);
    if (request.webHdfs)
        values.webHdfs = QLatin1String("1");
    const bool isForOneRun = !values.nameNode.isNull() || !values.user.isNull() || !values.webHdfs.isNull();
    if (isForOneRun && !useForOneRun(&store, values))
        throw Failure("no place for temporary settings");
    const QString library = request.plugin.empty() ? QCoreApplication::applicationDirPath() + QLatin1String("/QuorHDFS")
                                                   : QString::fromLocal8Bit(request.plugin.c_str());
    Session session(library);
    session.connect();
    return request.command(session);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is a write that fails
#endif
    noteInterrupts();
    provideUserName();

    CLI::App app;
    Request request;
    describe(&app, &request);
    Arguments words = inOurWords(argc, argv, app);
    std::reverse(words.begin(), words.end()); // as the parser wants them
    try {
        app.parse(words);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kExitDone : kExitUsage;
    }
    try {
        const int status = run(request);
        if (std::fflush(stdout) != 0)
            throw Failure("Unable to write to output stream.");
        return status;
    } catch (const Interrupted &) {
        return kExitInterrupted;
    } catch (const std::invalid_argument &error) {
        std::fprintf(stderr, "marrowby: %s\n", error.what());
        return kExitUsage;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "marrowby: %s\n", error.what());
        return kExitFailed;
    }
}
