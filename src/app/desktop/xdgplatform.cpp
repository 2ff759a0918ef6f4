#include "app/desktop/xdgplatform.h"

#include "app/desktop/urls.h"
#include "config/files.h"
#include "config/reporter.h"
#include "config/settings.h"

#include <QNetworkInformation>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kEntry = u"velmar.desktop"_s;
constexpr qint64 kLongestOutput = 65536;

struct HandlerTypes
{
    Platform::Handler handler;
    const char *types; ///< the first one decides who is the default
};
constexpr HandlerTypes kHandlerTypes[] = {
    {Platform::Handler::Mail, "x-scheme-handler/mailto message/rfc822"},
    {Platform::Handler::News, "x-scheme-handler/news x-scheme-handler/nntp message/news"},
};

QStringList typesOf(Platform::Handler handler)
{
    return QString::fromLatin1(kHandlerTypes[std::size_t(handler)].types).split(u' ');
}
static_assert(kHandlerTypes[std::size_t(Platform::Handler::News)].handler == Platform::Handler::News);

QString allTypes()
{
    QString types;
    for (const HandlerTypes &row : kHandlerTypes)
        types += QString::fromLatin1(row.types).replace(u' ', u';') + u';';
    return types;
}

bool isWebUrl(const QString &text)
{
    for (const char *scheme : {"http://", "https://", "ftp://"}) {
        if (text.startsWith(QLatin1String(scheme), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

/// The tool is a script: what it waits for must go with it. It leads a group of its own.
void killWithChildren(const QProcess &process)
{
    if (process.processId() > 0)
        ::kill(-pid_t(process.processId()), SIGKILL);
}

} // namespace

XdgPlatform::XdgPlatform(QString program, QObject *parent)
    : QObject(parent)
    , m_program(std::move(program))
{
    QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability);
}

XdgPlatform::~XdgPlatform()
{
    // their answers must not come any more
    for (QProcess *process : findChildren<QProcess *>()) {
        process->disconnect();
        killWithChildren(*process);
        process->waitForFinished(1000);
    }
}

bool XdgPlatform::openPath(const QString &path)
{
    const QString opener = QStandardPaths::findExecutable(u"xdg-open"_s);
    const bool isUrl = isWebUrl(path);
    if (opener.isEmpty() || (!isUrl && !QFileInfo::exists(path)))
        return false;
    QProcess process;
    process.setProgram(opener);
    // a full name: one that begins with "-" would be an option, one with ":" a URL
    process.setArguments({isUrl ? path : QFileInfo(path).absoluteFilePath()});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

/// Nobody else is told when the user works offline; that the machine is connected does not count then.
std::optional<bool> XdgPlatform::isConnected() const
{
    if (!boolSetting(Setting::Online))
        return {};
    const QNetworkInformation *network = QNetworkInformation::instance();
    if (!network || network->reachability() == QNetworkInformation::Reachability::Unknown)
        return {};
    return network->reachability() != QNetworkInformation::Reachability::Disconnected;
}

void XdgPlatform::setConnected(bool) {}

void XdgPlatform::askDefaultHandler(Handler handler, std::function<void(std::optional<bool>)> answer)
{
    run({u"query"_s, u"default"_s, typesOf(handler).first()}, [answer](const Output &output) {
        if (!output)
            return answer({});
        // some versions print the whole list of the type's entries
        answer(output->trimmed().split(';').first() == kEntry.toLatin1());
    });
}

void XdgPlatform::becomeDefaultHandler(Handler handler, std::function<void(bool)> done)
{
    if (!makeDesktopEntry()) {
        QTimer::singleShot(0, this, [done] { done(false); });
        return;
    }
    // the tool ends well even where it could not write, so it is asked afterwards
    run(QStringList{u"default"_s, kEntry} + typesOf(handler), [this, handler, done](const Output &output) {
        if (!output)
            return done(false);
        askDefaultHandler(handler, [done](std::optional<bool> isDefault) { done(isDefault == true); });
    });
}

void XdgPlatform::run(const QStringList &arguments, std::function<void(const Output &)> done)
{
    auto *process = new QProcess(this);
    auto *patience = new QTimer(process);
    const auto end = [process, patience, done](const Output &output) {
        patience->stop();
        process->disconnect();
        if (process->state() == QProcess::NotRunning)
            process->deleteLater();
        else
            connect(process, &QProcess::finished, process, &QObject::deleteLater);
        done(output);
    };
    connect(process, &QProcess::finished, this, [process, end](int code, QProcess::ExitStatus status) {
        const bool good = status == QProcess::NormalExit && code == 0;
        end(good ? Output(process->read(kLongestOutput)) : Output());
    });
    connect(process, &QProcess::errorOccurred, this, [end](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end({});
    });
    connect(patience, &QTimer::timeout, this, [process, end] {
        note(u"xdg-mime does not answer"_s);
        killWithChildren(*process);
        end({});
    });
    patience->setSingleShot(true);
    patience->start(m_patience);
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(u"xdg-mime"_s, arguments, QProcess::ReadOnly);
}

/// Registering means the entry's name, so there must be one: where the program was not installed, the user
/// gets one that starts it from where it is.
bool XdgPlatform::makeDesktopEntry() const
{
    if (!QStandardPaths::locate(QStandardPaths::ApplicationsLocation, kEntry).isEmpty())
        return true;
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
    if (folder.isEmpty() || !QDir().mkpath(folder))
        return false;
    const QString text = u"[Desktop Entry]\n"
                         "Type=Application\n"
                         "Name=Velmar\n"
                         "Comment=Mail, news and feeds\n"
                         "Exec=%1\n"
                         "Icon=velmar\n"
                         "Categories=Network;Email;News;\n"
                         "MimeType=%2\n"_s.arg(desktopEntryExec(m_program, u"-url %u"_s), allTypes());
    return writeReplacing(folder + u'/' + kEntry, text.toUtf8());
}

QString desktopEntryExec(const QString &program, const QString &arguments)
{
    static const QString s_reserved = u" \t\n\"'\\><~|&;$*?#()`"_s;
    bool needsQuotes = false;
    QString word;
    for (const QChar c : program) {
        needsQuotes = needsQuotes || s_reserved.contains(c);
        if (c == u'"' || c == u'`' || c == u'$')
            word += u"\\\\"; // one backslash for the quoting, doubled because the value is a string
        else if (c == u'\\')
            word += u"\\\\\\";
        else if (c == u'%')
            word += u'%';
        word += c;
    }
    // without need it stays bare: xdg-mime looks for a program of that name, quotes and all
    return (needsQuotes ? u'"' + word + u'"' : word) + u' ' + arguments;
}
