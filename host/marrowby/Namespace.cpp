// mkdir, rm, mv, setrep, chmod, chown
#include "host/marrowby/Commands.h"
#include "host/marrowby/Failure.h"
#include "host/marrowby/ModeChange.h"

#include <cstdio>
#include <stdexcept>

namespace {

const unsigned kNewDirectoryMode = 0755; ///< 0777 less the usual umask of 022

void makeDirectory(Session &session, const PathArgument &argument, bool withParents)
{
    if (argument.exists) {
        if (!argument.entry.isDirectory)
            throw pathFailure(argument.shown, kIsNotDirectory);
        if (!withParents)
            throw pathFailure(argument.shown, kExists);
        return;
    }
    Entry parent;
    if (!withParents && !session.status(parentPath(argument.path), &parent))
        throw pathFailure(argument.shown, kNotFound);
    session.makeDirectory(argument.path, kNewDirectoryMode, withParents);
}

/// Moves one path to `target`, or into it when it is a directory.
void moveOne(Session &session, const PathArgument &source, const PathArgument &target, bool mustBeDirectory)
{
    if (mustBeDirectory && !target.exists)
        throw pathFailure(target.shown, kNotFound);
    if (mustBeDirectory && !target.entry.isDirectory)
        throw pathFailure(target.shown, kIsNotDirectory);
    PathArgument destination = target;
    if (target.exists && target.entry.isDirectory) {
        const std::string name = baseName(source.path);
        destination = lookUpOne(session, childPath(target.shown, name));
    }
    if (destination.exists)
        throw pathFailure(destination.shown, kExists);
    Entry parent;
    if (!session.status(parentPath(destination.path), &parent))
        throw pathFailure(baseName(destination.path).empty() ? destination.shown : parentPath(destination.path),
                          kNotFound);
    session.rename(source.path, destination.path);
    // A NameNode may refuse a rename and yet call it a success.
    Entry left;
    if (session.status(source.path, &left))
        throw pathFailure(source.shown, "Input/output error");
}

struct OwnerAndGroup {
    std::string owner;
    std::string group;
};

OwnerAndGroup parseOwner(const std::string &text)
{
    OwnerAndGroup names;
    const std::size_t colon = text.find(':');
    names.owner = text.substr(0, colon);
    if (colon != std::string::npos)
        names.group = text.substr(colon + 1);
    if (names.owner.empty() && names.group.empty())
        throw std::invalid_argument("'" + text + "' does not match expected pattern for [owner][:group].");
    return names;
}

int changeEach(Session &session, const char *name, bool recursive, const Arguments &paths,
               const std::function<void(const PathArgument &)> &change)
{
    int failed = kExitDone;
    const int status = forEachPath(session, name, paths, [&](const PathArgument &argument) {
        if (!recursive) {
            change(argument);
            return;
        }
        forWholeTree(session, argument,
                     [&](const PathArgument &each) { failed |= attempt(name, [&] { change(each); }); });
    });
    return status | failed;
}

} // namespace

int makeDirectories(Session &session, bool withParents, const Arguments &paths)
{
    int status = kExitDone;
    for (const std::string &given : paths)
        status |= attempt("mkdir", [&] {
            for (const PathArgument &argument : lookUp(session, given))
                makeDirectory(session, argument, withParents);
        });
    return status;
}

int remove(Session &session, bool recursive, bool isMissingFine, const Arguments &paths)
{
    int status = kExitDone;
    for (const std::string &given : paths) {
        std::vector<PathArgument> arguments;
        status |= attempt("rm", [&] { arguments = lookUp(session, given); });
        for (const PathArgument &argument : arguments) {
            status |= attempt("rm", [&] {
                if (!argument.exists && isMissingFine)
                    return;
                if (!argument.exists)
                    throw pathFailure(argument.shown, kNotFound);
                if (argument.entry.isDirectory && !recursive)
                    throw pathFailure(argument.shown, kIsDirectory);
                if (!session.remove(argument.path, recursive))
                    throw pathFailure(argument.shown, "Input/output error");
                std::printf("Deleted %s\n", argument.shown.c_str());
            });
        }
    }
    return status;
}

int move(Session &session, const Arguments &paths)
{
    const Arguments sources(paths.begin(), paths.end() - 1);
    PathArgument target;
    const int status = attempt("mv", [&] {
        target = lookUp(session, paths.back()).front();
        if (sources.size() > 1 && !target.exists)
            throw pathFailure(target.shown, kNotFound);
        if (sources.size() > 1 && !target.entry.isDirectory)
            throw pathFailure(target.shown, kIsNotDirectory);
    });
    if (status != kExitDone)
        return status;
    return forEachPath(session, "mv", sources,
                       [&](const PathArgument &source) { moveOne(session, source, target, sources.size() > 1); });
}

int setReplication(Session &session, unsigned replication, const Arguments &paths)
{
    return changeEach(session, "setrep", true, paths, [&](const PathArgument &argument) {
        if (argument.entry.isDirectory)
            return;
        if (!session.setReplication(argument.path, replication))
            throw Failure("Could not set replication for: " + argument.shown);
        std::printf("Replication %u set: %s\n", replication, argument.shown.c_str());
    });
}

int changeMode(Session &session, bool recursive, const std::string &mode, const Arguments &paths)
{
    const ModeChange change(mode);
    return changeEach(session, "chmod", recursive, paths, [&](const PathArgument &argument) {
        const unsigned before = argument.entry.permission & kModeBits;
        const unsigned after = change.apply(before, argument.entry.isDirectory);
        if (after != before)
            session.setPermission(argument.path, after);
    });
}

int changeOwner(Session &session, bool recursive, const std::string &owner, const Arguments &paths)
{
    const OwnerAndGroup names = parseOwner(owner);
    return changeEach(session, "chown", recursive, paths, [&](const PathArgument &argument) {
        const bool isOwnerNew = !names.owner.empty() && names.owner != argument.entry.owner;
        const bool isGroupNew = !names.group.empty() && names.group != argument.entry.group;
        if (isOwnerNew || isGroupNew)
            session.setOwner(argument.path, isOwnerNew ? names.owner : std::string(),
                             isGroupNew ? names.group : std::string());
    });
}
