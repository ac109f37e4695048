#pragma once

#include <QIcon>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace platform {

/// The program's icon in the desktop's tray. Appears when there is a tray. Main thread.
class StatusItem : public QObject {
    Q_OBJECT
public:
    /// Borrows the actions.
    StatusItem(const QIcon& icon, const QString& title, const QList<QAction*>& actions);
    ~StatusItem() override;

Q_SIGNALS:
    void activated(); ///< the icon itself was clicked

private:
    void waitForTray();
    void appear();

    const QIcon m_picture;
    const QString m_title;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace platform
