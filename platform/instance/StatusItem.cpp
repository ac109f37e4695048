#include "platform/instance/StatusItem.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

const auto trayService = u"org.kde.StatusNotifierWatcher"_s;

} // namespace

StatusItem::StatusItem(const QIcon& icon, const QString& title, const QList<QAction*>& actions)
    : m_picture(icon)
    , m_title(title)
    , m_menu(std::make_unique<QMenu>())
{
    m_menu->addActions(actions);
    if (QDBusConnection::sessionBus().isConnected()) {
        waitForTray();
    } else if (QSystemTrayIcon::isSystemTrayAvailable()) {
        appear();
    }
}

StatusItem::~StatusItem() = default;

// Qt looks for a tray on the bus only once per process, so QSystemTrayIcon must not be used before
// there is a tray.
void StatusItem::waitForTray()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    auto* service = new QDBusServiceWatcher(
        trayService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(service, &QDBusServiceWatcher::serviceRegistered, this, &StatusItem::appear);

    QDBusMessage isThere = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s,
        u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
    isThere << trayService;
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(isThere), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<bool> reply(*answer);
        if (reply.isValid() && reply.value()) {
            appear();
        }
        answer->deleteLater();
    });

    if (QGuiApplication::platformName() == u"xcb"_s) {
        // A tray of the older kind, by X11, is used only if no tray has appeared on the bus by the
        // time when the session has started.
        constexpr std::chrono::seconds sessionStart{ 10 };
        QTimer::singleShot(sessionStart, this, [this] {
            if (QSystemTrayIcon::isSystemTrayAvailable()) {
                appear();
            }
        });
    }
}

void StatusItem::appear()
{
    if (m_icon) {
        return;
    }
    m_icon = std::make_unique<QSystemTrayIcon>(m_picture);
    m_icon->setToolTip(m_title);
    m_icon->setContextMenu(m_menu.get());
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
        [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
                Q_EMIT activated();
            }
        });
    m_icon->show();
}

} // namespace platform
