#include "platform/ui/ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

const auto portalService = u"org.freedesktop.portal.Desktop"_s;
const auto portalPath = u"/org/freedesktop/portal/desktop"_s;
const auto settingsInterface = u"org.freedesktop.portal.Settings"_s;
const auto appearanceGroup = u"org.freedesktop.appearance"_s;
const auto colorSchemeKey = u"color-scheme"_s;

constexpr uint preferDark = 1;
constexpr uint preferLight = 2;

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

/// The portal's Read method wraps the value twice.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

/// Receives the portal's signal, which can only be connected to a slot.
class SettingListener : public QObject {
    Q_OBJECT
public:
    SettingListener(std::function<void(const QVariant&)> received, QObject* parent)
        : QObject(parent)
        , m_received(std::move(received))
    {
    }

public Q_SLOTS:
    // Not a slot with the signal's arguments: QtDBus refuses to connect it as long as it has not
    // registered QDBusVariant, which happens with the first message.
    void settingChanged(const QDBusMessage& signal)
    {
        const QVariantList arguments = signal.arguments();
        if (arguments.size() == 3 && arguments.at(0).toString() == appearanceGroup
            && arguments.at(1).toString() == colorSchemeKey) {
            m_received(arguments.at(2));
        }
    }

private:
    std::function<void(const QVariant&)> m_received;
};

} // namespace

// The palette is read only once: Appearance replaces it later.
ColorScheme::ColorScheme()
    : m_paletteIsDark(isDark(QGuiApplication::palette()))
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
    auto* listener
        = new SettingListener([this](const QVariant& setting) { follow(setting); }, this);
    bus.connect(portalService, portalPath, settingsInterface, u"SettingChanged"_s, listener,
        SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read
        = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, u"Read"_s);
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

#include "ColorScheme.moc"
