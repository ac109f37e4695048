#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QWidget;

namespace platform {

/// Owns one window, which is loaded from its window description on first use. Main thread.
class WindowController : public QObject {
    Q_OBJECT
public:
    explicit WindowController(QString windowNibName);
    ~WindowController() override;

    /// The window; built, and windowDidLoad() called, by the first request.
    QWidget* window();
    bool isWindowLoaded() const { return m_window != nullptr; }
    const QString& windowNibName() const { return m_windowNibName; }

    /// Shows the window and makes it key.
    virtual void showWindow(QObject* sender);

    /// The controller of that window or of the window that holds that widget; may be null.
    static WindowController* controllerOf(const QWidget* widget);

    /// For Dispatch: dies with this controller.
    std::weak_ptr<const void> lifeGuard() const { return m_life; }

protected:
    /// Builds the window from its description, outlets included. Called once.
    virtual std::unique_ptr<QWidget> loadWindow() = 0;
    virtual void windowDidLoad() { }
    /// The user asks to close the window (title bar, Escape in a sheet); false keeps it.
    virtual bool windowShouldClose(QWidget* window);
    virtual void windowWillClose() { }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// Whether the window is to be hidden.
    bool closeWindow();

    QString m_windowNibName;
    std::unique_ptr<QWidget> m_window;
    std::shared_ptr<const void> m_life = std::make_shared<char>();
};

} // namespace platform
