#include "ui/look/desktopscheme.h"

#include "ui/look/oklch.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPalette>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kService = "org.freedesktop.portal.Desktop"_L1;
constexpr auto kPath = "/org/freedesktop/portal/desktop"_L1;
constexpr auto kInterface = "org.freedesktop.portal.Settings"_L1;
constexpr auto kSpace = "org.freedesktop.appearance"_L1;
constexpr auto kKey = "color-scheme"_L1;

/// Read wraps its answer in a variant more than the signal does.
uint preferenceIn(QVariant value)
{
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt();
}

} // namespace

DesktopScheme::DesktopScheme(QObject *parent)
    : QObject(parent)
{}

void DesktopScheme::start()
{
    m_platformDark = isDarkBackground(QApplication::palette().color(QPalette::Window));
    m_dark = m_platformDark;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(kService, kPath, kInterface, u"SettingChanged"_s, this, SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read = QDBusMessage::createMethodCall(kService, kPath, kInterface, u"Read"_s);
    read << QString(kSpace) << QString(kKey);
    auto *call = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, &DesktopScheme::answered);
}

void DesktopScheme::take(uint preference)
{
    setDark(preference == 1 || (preference != 2 && m_platformDark));
}

void DesktopScheme::settingChanged(const QDBusMessage &message)
{
    const QVariantList arguments = message.arguments(); // space, key, value
    if (arguments.size() == 3 && arguments[0].toString() == kSpace && arguments[1].toString() == kKey)
        take(preferenceIn(arguments[2]));
}

void DesktopScheme::answered(QDBusPendingCallWatcher *call)
{
    call->deleteLater();
    const QDBusPendingReply<QVariant> reply = *call;
    if (!reply.isError())
        take(preferenceIn(reply.value()));
}

void DesktopScheme::setDark(bool dark)
{
    if (dark == m_dark)
        return;
    m_dark = dark;
    emit changed();
}
