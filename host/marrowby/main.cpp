// Marrowby on the command line: a host that works on HDFS through the plug-in, which it loads and never links to.
#include "host/marrowby/Browse.h"
#include "host/marrowby/CommandLine.h"
#include "host/marrowby/Configure.h"
#include "host/marrowby/Display.h"
#include "host/marrowby/Errors.h"
#include "host/marrowby/ExitStatus.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/Session.h"
#include "host/marrowby/StandardDescriptors.h"

#include <QApplication>

#include <cstdio>
#include <memory>

namespace {

int runConnected(const CommandLine &line, Output &output)
{
    Messages messages(QByteArray::fromStdString(line.command->name), output);
    try {
        Session session(line.session);
        FileSystem files(session);
        const PathNames names("/user/" + session.user(), session.authority());
        CommandContext context = {line.arguments, files, names, messages, output, kDone};
        line.command->run(context);
        output.flush();
        return messages.any() ? kFailed : context.exitStatus;
    } catch (const NoConnection &error) {
        messages.report(error.text());
    } catch (const Failure &failure) {
        messages.report(failure.text());
    }
    return kFailed;
}

int runConfigure(const CommandLine &line, Output &output)
{
    Messages messages(QByteArray::fromStdString(line.command->name), output);
    try {
        configureConnection(line.arguments, output);
        output.flush();
        return kDone;
    } catch (const Failure &failure) {
        messages.report(failure.text());
        return kFailed;
    }
}

int runBrowse(const CommandLine &line, Output &output)
{
    Messages messages(QByteArray::fromStdString(line.command->name), output);
    try {
        const bool chosen = browse(line, output);
        output.flush();
        return chosen ? kDone : kFailed;
    } catch (const NoConnection &error) {
        messages.report(error.text());
    } catch (const Failure &failure) {
        messages.report(failure.text());
    }
    return kFailed;
}

int runCommand(const CommandLine &line, Output &output)
{
    try {
        if (line.command->hasWindows)
            return runBrowse(line, output);
        return line.command->run ? runConnected(line, output) : runConfigure(line, output);
    } catch (const UsageError &error) {
        output.flush();
        std::fprintf(stderr, "-%s: %s\n%s\n", line.command->name.c_str(), error.text().constData(),
                     usageLine(*line.command).c_str());
        return kWrongUsage;
    }
}

std::unique_ptr<QCoreApplication> makeApplication(bool hasWindows, int &argc, char **argv)
{
    if (hasWindows)
        return std::unique_ptr<QCoreApplication>(new QApplication(argc, argv));
    return std::unique_ptr<QCoreApplication>(new QCoreApplication(argc, argv));
}

int run(int argc, char **argv)
{
    Output output;
    try {
        // Before there is an application, which drops options that Qt knows.
        const CommandLine line = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
        if (line.command->hasWindows && !hasDisplay()) {
            std::fprintf(stderr, "%s: there is no display to show a window on\n", line.command->name.c_str());
            return kFailed;
        }
        const std::unique_ptr<QCoreApplication> application = makeApplication(line.command->hasWindows, argc, argv);
        watchForInterrupts();
        return runCommand(line, output);
    } catch (const HelpWanted &help) {
        output.line(QByteArray(help.what()));
        output.flush();
        return kDone;
    } catch (const BadCommandLine &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return kWrongUsage;
    }
}

} // namespace

int main(int argc, char **argv)
{
    holdStandardDescriptors();
    try {
        return run(argc, argv);
    } catch (const Interrupted &end) {
        return kSignalled + end.signal;
    } catch (const OutputClosed &) {
        return kOutputClosed;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "marrowby: %s\n", failure.text().constData());
        return kFailed;
    }
}
