#include "platform/ui/ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

namespace platform {
namespace {

const auto portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const auto colorSchemeKey = QStringLiteral("color-scheme");

constexpr uint preferDark = 1;
constexpr uint preferLight = 2;

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

/// The value itself; the portal's first method of reading wraps it twice.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace

// The palette is asked once: later it may be the one that was chosen by this very preference.
ColorScheme::ColorScheme(QObject* parent)
    : QObject(parent)
    , m_paletteIsDark(isDark(QGuiApplication::palette()))
    , m_dark(m_paletteIsDark)
{
    askPortal();
}

void ColorScheme::askPortal()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
        this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(
        portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    read << appearanceGroup << colorSchemeKey;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusVariant> reply(*watcher);
        if (reply.isValid()) {
            follow(reply.value().variant());
        }
        watcher->deleteLater();
    });
}

void ColorScheme::settingChanged(
    const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group == appearanceGroup && key == colorSchemeKey) {
        follow(value.variant());
    }
}

void ColorScheme::follow(const QVariant& setting)
{
    const uint preference = unwrapped(setting).toUInt();
    const bool dark = preference == preferDark || (preference != preferLight && m_paletteIsDark);
    if (dark != m_dark) {
        m_dark = dark;
        Q_EMIT changed();
    }
}

} // namespace platform

#include "moc_ColorScheme.cpp"
