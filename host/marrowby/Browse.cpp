#include "host/marrowby/Browse.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/LoadedPlugin.h"
#include "host/marrowby/OneRunSettings.h"

#include <QApplication>
#include <QtCore/QSettings>
#include <QtCore/QTimer>

#include <memory>

namespace {

const char kBrowserKey[] = "defaultBrowser";
const int kWatchMilliseconds = 100;

/// While it lives, the host's setting that says which file dialog the plug-in shows has this value.
class BrowserForThisRun
{
public:
    explicit BrowserForThisRun(const char *browser)
        : m_settings(QLatin1String("Quor"), QLatin1String("Marrowby")),
          m_before(m_settings.value(QLatin1String(kBrowserKey)))
    {
        m_settings.setValue(QLatin1String(kBrowserKey), QString::fromLatin1(browser));
        m_settings.sync();
    }
    ~BrowserForThisRun()
    {
        if (m_before.isValid())
            m_settings.setValue(QLatin1String(kBrowserKey), m_before);
        else
            m_settings.remove(QLatin1String(kBrowserKey));
    }
    BrowserForThisRun(const BrowserForThisRun &) = delete;
    BrowserForThisRun &operator=(const BrowserForThisRun &) = delete;

private:
    QSettings m_settings;
    const QVariant m_before;
};

QString choose(const LoadedPlugin &plugin, const CommandArguments &arguments)
{
    const QString start =
        arguments.operands.empty() ? QString::fromLatin1("hdfs:/") : QString::fromLocal8Bit(arguments.operands.front());
    const auto filter = arguments.values.find("--filter");
    const QString types = filter == arguments.values.end() ? QString() : QString::fromLocal8Bit(filter->second.c_str());
    if (arguments.has("--save"))
        return plugin->getSaveFileName(nullptr, QLatin1String("Save"), start, types);
    if (arguments.has("--directory"))
        return plugin->getExistingDirectory(nullptr, QLatin1String("Choose a Directory"), start);
    return plugin->getOpenFileName(nullptr, QLatin1String("Open"), start, types);
}

} // namespace

bool browse(const CommandLine &line, Output &output)
{
    const CommandArguments &arguments = line.arguments;
    if (arguments.has("--open") + arguments.has("--save") + arguments.has("--directory") > 1)
        throw UsageError("only one of --open, --save and --directory");
    provideUserName();
    const CapturedLog log(CapturedLog::AlsoToStandardError);
    // First: Qt keeps the place of these settings in mind, which must not be that for one run.
    const BrowserForThisRun browser(arguments.has("--native") ? "native" : "all");
    bool differs = false;
    const ConnectionSettings settings = settingsForThisRun(line.session, &differs);
    std::unique_ptr<OneRunSettings> oneRun;
    if (differs)
        oneRun.reset(new OneRunSettings(settings));
    const LoadedPlugin plugin(line.session.plugin, log);
    // An end that was requested leaves the dialog like its user does, so that the setting is put back.
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [] {
        if (endIsRequested())
            QApplication::closeAllWindows();
    });
    watch.start(kWatchMilliseconds);
    const QString path = choose(plugin, arguments);
    checkForInterrupt();
    if (path.isEmpty())
        return false;
    output.line(path.toUtf8());
    return true;
}
