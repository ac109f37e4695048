#pragma once

#include <QObject>

#include <memory>

class QWidget;

namespace platform {

/// Owns one window, which is loaded from its window description on first use. Main thread.
class WindowController : public QObject {
    Q_OBJECT
public:
    WindowController() = default;
    ~WindowController() override;

    /// The window. The first call builds it and calls windowDidLoad().
    QWidget* window();
    bool isWindowLoaded() const { return m_window != nullptr; }

    /// Shows the window, brings it to the front and gives it the focus.
    virtual void showWindow();

    /// The controller of that window or of the window that holds that widget; may be null.
    static WindowController* controllerOf(const QWidget* widget);

    /// For Dispatch: expires when this controller is destroyed.
    std::weak_ptr<const void> lifeGuard() const { return m_life; }

protected:
    /// Builds the window from its description. Called once.
    virtual std::unique_ptr<QWidget> loadWindow() = 0;
    virtual void windowDidLoad() { }
    /// The user asks to close the window (title bar, Escape in a sheet); false keeps it.
    virtual bool windowShouldClose() { return true; }
    virtual void windowWillClose() { }

    /// Hides the window now; its sheet ends in the next turn of the event loop.
    void endSheetLater();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// Closes the window, and ends its sheet if it is one; false when windowShouldClose() keeps it.
    bool closeWindow();

    std::unique_ptr<QWidget> m_window;
    std::shared_ptr<const void> m_life = std::make_shared<char>();
};

} // namespace platform
