// stat, test
#include "host/marrowby/Commands.h"
#include "host/marrowby/Failure.h"
#include "host/marrowby/ModeChange.h"
#include "host/marrowby/Times.h"

#include <cstdio>

namespace {

std::string octal(unsigned mode)
{
    char text[16];
    std::snprintf(text, sizeof text, "%o", mode & kModeBits);
    return text;
}

std::string formatted(const PathArgument &argument, const std::string &format)
{
    const Entry &entry = argument.entry;
    std::string text;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        switch (format[++i]) {
        case 'a':
            text += octal(entry.permission);
            break;
        case 'A':
            text += symbolicMode(entry.permission);
            break;
        case 'b':
            text += std::to_string(entry.length);
            break;
        case 'F':
            text += entry.isDirectory ? "directory" : "regular file";
            break;
        case 'g':
            text += entry.group;
            break;
        case 'n':
            text += baseName(argument.path);
            break;
        case 'o':
            text += std::to_string(entry.blockSize);
            break;
        case 'r':
            text += std::to_string(entry.replication);
            break;
        case 'u':
            text += entry.owner;
            break;
        case 'x':
            text += statTime(entry.accessTime);
            break;
        case 'X':
            text += std::to_string(entry.accessTime);
            break;
        case 'y':
            text += statTime(entry.modificationTime);
            break;
        case 'Y':
            text += std::to_string(entry.modificationTime);
            break;
        default:
            // What is no directive stands for itself.
            text += format[i];
            break;
        }
    }
    return text;
}

/// Whether the bits of `right` (4 read, 2 write) are set for the session's user. Groups are known to the NameNode
/// alone, so belonging to the entry's group is taken for granted when the entry is not the user's own.
bool isAllowed(const Entry &entry, const std::string &user, unsigned right)
{
    if (entry.owner == user)
        return (entry.permission >> 6 & right) != 0;
    return ((entry.permission >> 3 | entry.permission) & right) != 0;
}

} // namespace

int stat(Session &session, const std::string &format, const Arguments &paths)
{
    return forEachPath(session, "stat", paths,
                       [&](const PathArgument &argument) { std::printf("%s\n", formatted(argument, format).c_str()); });
}

int test(Session &session, char what, const std::string &path)
{
    bool holds = false;
    const int status = attempt("test", [&] {
        const PathArgument argument = lookUp(session, path).front();
        if (!argument.exists)
            return;
        switch (what) {
        case 'd':
            holds = argument.entry.isDirectory;
            break;
        case 'f':
            holds = !argument.entry.isDirectory;
            break;
        case 's':
            holds = argument.entry.length > 0;
            break;
        case 'z':
            holds = argument.entry.length == 0;
            break;
        case 'r':
            holds = isAllowed(argument.entry, session.user(), 4);
            break;
        case 'w':
            holds = isAllowed(argument.entry, session.user(), 2);
            break;
        default:
            holds = true;
            break;
        }
    });
    return status != kExitDone ? status : holds ? kExitDone : kExitFailed;
}
