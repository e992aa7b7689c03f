// Marrowby on the command line: a host that works on HDFS through the plug-in, which it loads and never links to.
#include "host/marrowby/CommandLine.h"
#include "host/marrowby/Configure.h"
#include "host/marrowby/Errors.h"
#include "host/marrowby/ExitStatus.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/Session.h"
#include "host/marrowby/StandardDescriptors.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

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

int runCommand(const CommandLine &line, Output &output)
{
    try {
        return line.command->run ? runConnected(line, output) : runConfigure(line, output);
    } catch (const UsageError &error) {
        output.flush();
        std::fprintf(stderr, "-%s: %s\n%s\n", line.command->name.c_str(), error.text().constData(),
                     usageLine(*line.command).c_str());
        return kWrongUsage;
    }
}

int run(const std::vector<std::string> &arguments)
{
    Output output;
    try {
        return runCommand(parseCommandLine(arguments), output);
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
    QCoreApplication application(argc, argv);
    watchForInterrupts();
    try {
        // From argv and not from the application, which drops options that Qt knows.
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const Interrupted &end) {
        return kSignalled + end.signal;
    } catch (const OutputClosed &) {
        return kOutputClosed;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "marrowby: %s\n", failure.text().constData());
        return kFailed;
    }
}
