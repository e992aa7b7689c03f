#include "host/marrowby/Configure.h"

#include "host/marrowby/ConnectionSettings.h"
#include "host/marrowby/Errors.h"

void configureConnection(const CommandArguments &arguments, Output &output)
{
    ConnectionSettings settings = ConnectionSettings::load();
    for (const auto &value : arguments.values) {
        if (value.first == "--namenode") {
            QString address;
            checkedAddress(value.second, &address);
            settings.setAddress(address);
        } else if (value.first == "--user") {
            settings.user = QString::fromLocal8Bit(value.second.c_str());
        } else if (value.first == "--webhdfs") {
            settings.webHdfs = value.second == "1";
        } else if (value.first == "--abandon-block") {
            settings.abandonBlock = value.second == "1";
        }
    }
    const QByteArray location = ConnectionSettings::location().toUtf8();
    if (!arguments.values.empty() && !settings.save())
        throw Failure("cannot write " + location);

    provideUserName();
    const bool hasUser = !settings.user.isEmpty();
    output.line("namenode      " + (settings.hasNameNode() ? settings.authority() : QByteArray("(none)")));
    output.line("user          " + settings.effectiveUser() + (hasUser ? "" : " (not stored: this login)"));
    output.line("webhdfs       " + QByteArray::number(settings.webHdfs));
    output.line("abandonBlock  " + QByteArray::number(settings.abandonBlock));
    output.line((arguments.values.empty() ? "Read from " : "Stored in ") + location);
}
