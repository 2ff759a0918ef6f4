#include "net/keyring/desktopkeyring.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QStringList>

#include <qt6keychain/keychain.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"Velmar"_s; ///< the entries' common name in the keyring

constexpr int kBusPatience = 2000; ///< milliseconds; the bus answers such questions itself, at once

/// The services behind which a keyring stands.
bool isKeyring(const QString &service)
{
    return service == u"org.freedesktop.secrets" || service.startsWith(u"org.kde.kwalletd");
}

/// Without an address the bus library would try to start a bus, which takes its time and helps nobody.
bool hasSessionBus()
{
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo::exists(runtime + u"/bus"_s);
}

/// Asks the bus for the names that it calls @p list; an empty list where it does not answer.
void askNames(const char *list, QObject *context, std::function<void(const QStringList &)> answer)
{
    const QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, QLatin1StringView(list));
    auto *watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, kBusPatience), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, answer = std::move(answer)] {
                         const QDBusPendingReply<QStringList> reply = *watcher;
                         watcher->deleteLater();
                         answer(reply.isError() ? QStringList() : reply.value());
                     });
}

void prepare(QKeychain::Job &job, const QString &key)
{
    job.setKey(key);
    job.setInsecureFallback(false); // never into a plain file
}

} // namespace

DesktopKeyring::DesktopKeyring(QObject *parent)
    : QObject(parent)
{}

void DesktopKeyring::later(std::function<void()> deed)
{
    QMetaObject::invokeMethod(this, std::move(deed), Qt::QueuedConnection);
}

/// One that runs, or that the bus would start when it is spoken to.
void DesktopKeyring::isAvailable(std::function<void(bool)> answer)
{
    if (!hasSessionBus() || !QDBusConnection::sessionBus().isConnected())
        return later([answer = std::move(answer)] { answer(false); });
    askNames("ListNames", this, [this, answer = std::move(answer)](const QStringList &running) {
        if (std::any_of(running.begin(), running.end(), isKeyring))
            return answer(true);
        askNames("ListActivatableNames", this, [answer](const QStringList &known) {
            answer(std::any_of(known.begin(), known.end(), isKeyring));
        });
    });
}

void DesktopKeyring::read(const QString &key, std::function<void(bool, const QString &)> answer)
{
    isAvailable([this, key, answer = std::move(answer)](bool available) {
        if (!available)
            return answer(false, {});
        auto *job = new QKeychain::ReadPasswordJob(kService); // deletes itself
        prepare(*job, key);
        connect(job, &QKeychain::Job::finished, this, [job, answer] {
            const bool ok = job->error() == QKeychain::NoError;
            answer(ok, ok ? job->textData() : QString());
        });
        job->start();
    });
}

void DesktopKeyring::write(const QString &key, const QString &password, std::function<void(bool)> answer)
{
    isAvailable([this, key, password, answer = std::move(answer)](bool available) {
        if (!available)
            return answer(false);
        auto *job = new QKeychain::WritePasswordJob(kService);
        prepare(*job, key);
        job->setTextData(password);
        connect(job, &QKeychain::Job::finished, this,
                [job, answer] { answer(job->error() == QKeychain::NoError); });
        job->start();
    });
}

void DesktopKeyring::remove(const QString &key, std::function<void(bool)> answer)
{
    isAvailable([this, key, answer = std::move(answer)](bool available) {
        if (!available)
            return answer(false);
        auto *job = new QKeychain::DeletePasswordJob(kService);
        prepare(*job, key);
        connect(job, &QKeychain::Job::finished, this, [job, answer] {
            answer(job->error() == QKeychain::NoError || job->error() == QKeychain::EntryNotFound);
        });
        job->start();
    });
}
