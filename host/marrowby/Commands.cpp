#include "host/marrowby/Commands.h"

#include "host/marrowby/Attributes.h"
#include "host/marrowby/Copy.h"
#include "host/marrowby/Get.h"
#include "host/marrowby/Listing.h"
#include "host/marrowby/Namespace.h"
#include "host/marrowby/Put.h"
#include "host/marrowby/Status.h"
#include "host/marrowby/Touch.h"
#include "host/marrowby/Transfer.h"

namespace {

const int kAnyNumber = -1;

/// How the commands that write files describe -D.
const char kPropertyHelp[] =
    "dfs.blocksize: bytes of a block (128m), dfs.replication (3), dfs.bytes-per-checksum (1024)";

CommandDescription list()
{
    return {"ls",
            "[-C] [-d] [-h] [-q] [-R] [-t] [-S] [-r] [-u] [PATH]...",
            "lists directories and files",
            "Lists what is in each directory and each file itself; without PATH the home directory. A line holds the "
            "permissions, the replication of a file, owner, group, size in bytes, time of the last modification and "
            "path. With -R the paths always "
            "come in the order of their names.",
            {{"-C", "only paths", ""},
             {"-d", "directories themselves, not what is in them", ""},
             {"-h", "sizes for people, as 2.4 M", ""},
             {"-q", "? in place of characters that cannot be printed", ""},
             {"-R", "all that is below the directories, too", ""},
             {"-t", "sorted by time, the latest first", ""},
             {"-S", "sorted by size, the largest first", ""},
             {"-r", "sorted the other way round", ""},
             {"-u", "the time of the last access in place of that of the modification", ""}},
            0,
            kAnyNumber,
            nullptr,
            listFiles};
}

CommandDescription stat()
{
    return {"stat",
            "[FORMAT] PATH...",
            "prints what is known about a path",
            "Prints FORMAT for each path; an argument with % in it is taken for the format. Without one: %y.\n"
            "  %a mode in octal    %A mode as rwxr-xr-x    %b size in bytes    %F kind    %g group    %n name\n"
            "  %o block size    %r replication    %u owner    %x, %y time of access, of modification (UTC)\n"
            "  %X, %Y the same in milliseconds since 1970-01-01 UTC    %% a percent sign",
            {},
            1,
            kAnyNumber,
            nullptr,
            printStatus};
}

CommandDescription test()
{
    return {"test",
            "-d|-e|-f|-r|-s|-z PATH",
            "tells by its exit status what a path is",
            "Ends with 0 when it is true, else with 1.",
            {{"-d", "is it a directory?", ""},
             {"-e", "does it exist?", ""},
             {"-f", "is it a file?", ""},
             {"-r", "does it exist and may it be read?", ""},
             {"-s", "has it any bytes?", ""},
             {"-z", "is it of zero length?", ""}},
            1,
            1,
            nullptr,
            testPath};
}

CommandDescription mkdir()
{
    return {"mkdir",
            "[-p] PATH...",
            "makes directories",
            "Makes each directory, with permissions rwxr-xr-x.",
            {{"-p", "with the directories above it; no error when it exists", ""}},
            1,
            kAnyNumber,
            nullptr,
            makeDirectories};
}

CommandDescription rm()
{
    return {"rm",
            "[-f] [-r|-R] [-skipTrash] PATH...",
            "deletes files and directories",
            "Deletes each path for good: there is no trash.",
            {{"-f", "no error when a path does not exist", ""},
             {"-r", "directories, too, with all that is in them", ""},
             {"-R", "the same as -r", ""},
             {"-skipTrash", "changes nothing; known from hdfs dfs", ""}},
            1,
            kAnyNumber,
            nullptr,
            removePaths};
}

CommandDescription mv()
{
    return {"mv",
            "SOURCE... DESTINATION",
            "renames and moves files and directories",
            "Moves each source into DESTINATION when that is a directory; otherwise gives the only source that name. "
            "Nothing is overwritten.",
            {},
            2,
            kAnyNumber,
            nullptr,
            movePaths};
}

CommandDescription cp()
{
    return {
        "cp",
        "[-f] [-d] [-D NAME=VALUE]... SOURCE... DESTINATION",
        "copies files and directories",
        "Copies each source into DESTINATION when that is a directory; otherwise gives the only copy that name. The "
        "bytes go through this machine. A copy has the block size of its source; its permissions and its replication "
        "are those of a new file. It has its name only once it is complete; until then it is called NAME._COPYING_.",
        {{"-f", "overwrite files that are there", ""},
         {"-d", "changes nothing; known from hdfs dfs", ""},
         {kPropertyOption, "dfs.replication: of the copies (3)", "NAME=VALUE"}},
        2,
        kAnyNumber,
        nullptr,
        copyPaths};
}

CommandDescription touchz()
{
    return {"touchz",
            "[-D NAME=VALUE]... PATH...",
            "makes empty files",
            "Makes an empty file at each path, also in place of an empty one.",
            {{kPropertyOption, kPropertyHelp, "NAME=VALUE"}},
            1,
            kAnyNumber,
            nullptr,
            makeEmptyFiles};
}

CommandDescription setrep()
{
    return {
        "setrep",
        "[-R] [-w] NUMBER PATH...",
        "sets the replication of files",
        "Sets how many replicas each file shall have, of a directory all files below it. The cluster makes or removes "
        "them later by itself.",
        {{"-R", "changes nothing; known from hdfs dfs", ""},
         {"-w",
          "would wait until the replicas are there: sets the replication, says that it does not wait, and "
          "fails",
          ""}},
        2,
        kAnyNumber,
        nullptr,
        setReplications};
}

CommandDescription chmod()
{
    return {
        "chmod",
        "[-R] MODE[,MODE]...|OCTALMODE PATH...",
        "changes permissions",
        "OCTALMODE has three digits, with 1 before them for the sticky bit: 644, 1777. MODE is [ugoa][+-=][rwxXt], as "
        "u+x, go-w or a+rX; without a class it means everybody. Of several MODEs for the same class the last one "
        "counts.",
        {{"-R", "all that is below a directory, too", ""}},
        2,
        kAnyNumber,
        isModeWithDash,
        changeModes};
}

CommandDescription chown()
{
    return {"chown",
            "[-R] [OWNER][:[GROUP]] PATH...",
            "changes owner and group",
            "Gives each path the owner and the group that are named. Only the cluster's superuser may change an owner.",
            {{"-R", "all that is below a directory, too", ""}},
            2,
            kAnyNumber,
            nullptr,
            changeOwners};
}

CommandDescription cat()
{
    return {"cat",
            "[-ignoreCrc] PATH...",
            "prints files",
            "Writes the content of each file to standard output.",
            {{"-ignoreCrc", "changes nothing; known from hdfs dfs", ""}},
            1,
            kAnyNumber,
            nullptr,
            printFiles};
}

CommandDescription head()
{
    return {"head",
            "PATH",
            "prints the first 1024 bytes of a file",
            "Writes the first 1024 bytes of the file to standard output.",
            {},
            1,
            1,
            nullptr,
            printBeginning};
}

CommandDescription tail()
{
    return {"tail",
            "PATH",
            "prints the last 1024 bytes of a file",
            "Writes the last 1024 bytes of the file to standard output.",
            {},
            1,
            1,
            nullptr,
            printEnd};
}

CommandDescription get()
{
    return {
        "get",
        "[-f] [-p] [-ignoreCrc] PATH... [TARGET]",
        "copies files and directories to this machine",
        "Copies each path into TARGET when that is a directory of this machine; otherwise the only path gets that "
        "name. "
        "Without TARGET: into the working directory. TARGET - is standard output, for files. A file has its name only "
        "once it is complete; until then it is called NAME._COPYING_.",
        {{"-f", "overwrite files that are there", ""},
         {"-p", "keep times and permissions, and owner and group as far as possible", ""},
         {"-ignoreCrc", "changes nothing; known from hdfs dfs", ""}},
        1,
        kAnyNumber,
        nullptr,
        getPaths};
}

CommandDescription put()
{
    return {"put",
            "[-f] [-d] [-D NAME=VALUE]... SOURCE... [DESTINATION]",
            "copies files and directories of this machine to HDFS",
            "Copies each source into DESTINATION when that is a directory of HDFS; otherwise gives the only copy that "
            "name. "
            "Without DESTINATION: into the home directory. The only source - is standard input, for which missing "
            "directories "
            "are made. Files get the permissions "
            "rw-r--r--, directories rwxr-xr-x. A file has its name only once it is complete; until then it is called "
            "NAME._COPYING_. With -f the old file goes right before.",
            {{"-f", "overwrite files that are there", ""},
             {"-d", "changes nothing; known from hdfs dfs", ""},
             {kPropertyOption, kPropertyHelp, "NAME=VALUE"}},
            1,
            kAnyNumber,
            nullptr,
            putPaths};
}

CommandDescription moveFromLocal()
{
    CommandDescription description = put();
    description.name = "moveFromLocal";
    description.summary = "moves files and directories of this machine to HDFS";
    description.details +=
        " What is complete in HDFS is deleted here. A directory that is in HDFS already is left alone.";
    description.run = movePathsFromHere;
    return description;
}

CommandDescription configure()
{
    return {"configure",
            "[--namenode HOST:PORT] [--user NAME] [--webhdfs 0|1] [--abandon-block 0|1]",
            "shows and changes the stored connection settings",
            "Without an option it shows what is stored. An option changes one value and leaves the others.\n\n"
            "abandonBlock says what a writer does with a block whose first DataNode failed. 0: the block is "
            "asked for again, and the NameNode may answer with the same one on the same nodes; five such attempts end "
            "with \"Maximum retry reached\", and the file cannot be written. 1: the block is given back first, so that "
            "the NameNode chooses other nodes.",
            {{"--namenode", "the NameNode; the port is 8020 when it is missing", "HOST:PORT"},
             {"--user", "the user to work as; empty: the environment variable USERNAME, or this login", "NAME"},
             {"--webhdfs", "1: read files through WebHDFS, 0: from the DataNodes directly", "0|1"},
             {"--abandon-block", "1: give a block that could not be written back before asking for the next, 0: do not",
              "0|1"}},
            0,
            0,
            nullptr,
            nullptr};
}

CommandDescription browse()
{
    return {
        "browse",
        "[--open|--save|--directory] [--filter FILTER] [START]",
        "lets you choose a file or a directory in a window",
        "Shows the file dialog of the plug-in, with HDFS and the disks of this machine, and prints what was chosen; "
        "nothing is done with it. START is where it opens: a directory or a file, with hdfs: before a path of HDFS, as "
        "hdfs:/user; without it hdfs:/. Ends with 1 when nothing was chosen.\n\n"
        "The path that is printed for --save may carry the replication and the block size in MB that were chosen: "
        "PATH|REPLICATION|BLOCKSIZE, PATH|REPLICATION or PATH||BLOCKSIZE.",
        {{"--open", "a file that exists (so without any of the three)", ""},
         {"--save", "a file to write", ""},
         {"--directory", "a directory", ""},
         {"--filter", "the file types, as \"Tables (*.csv *.tsv);;All Files (*.*)\"", "FILTER"},
         {"--native", "in the dialog of the desktop", ""}},
        0,
        1,
        nullptr,
        nullptr,
        true};
}

} // namespace

const std::vector<CommandDescription> &allCommands()
{
    static const std::vector<CommandDescription> commands = {
        list(), stat(), test(), mkdir(), touchz(),        rm(),        mv(),    cp(), setrep(), chmod(), chown(), cat(),
        head(), tail(), get(),  put(),   moveFromLocal(), configure(), browse()};
    return commands;
}

const CommandDescription *findCommand(const std::string &name)
{
    for (const CommandDescription &command : allCommands())
        if (command.name == name)
            return &command;
    return nullptr;
}
