#pragma once

#include "platform/services/Error.h"
#include "platform/ui/MenuResponder.h"

#include <QApplication>

class QUndoStack;

namespace platform {

class Application;

enum class TerminateReply { Cancel = 0, Now = 1 };

/// The program's part of the application. The application does not own it; it outlives run().
class ApplicationDelegate : public MenuResponder {
public:
    virtual void applicationDidFinishLaunching() = 0;
    /// The program was started again, or its icon was used: brings the main window to the front.
    virtual void applicationShouldHandleReopen() = 0;
    virtual TerminateReply applicationShouldTerminate(Application& application) = 0;
    /// The undo manager of actions in any window; null when there is none.
    virtual QUndoStack* windowWillReturnUndoManager() = 0;
};

/// The application object: launch, termination and alerts. Main thread.
class Application : public QApplication {
    Q_OBJECT
public:
    Application(int& argc, char** argv);
    ~Application() override;

    static Application& shared();

    ApplicationDelegate* delegate() const { return m_delegate; }
    void setDelegate(ApplicationDelegate* delegate) { m_delegate = delegate; }

    /// Launches the delegate, runs the event loop, and returns the exit status.
    int run();

    /// Shows `error` in a modal alert. Returns whether the failure was repaired: always false,
    /// since no error offers a repair yet.
    bool presentError(const Error& error);

    /// Asks the delegate, and quits unless it cancels. SIGTERM, SIGINT, SIGHUP and the end of the
    /// desktop session do the same.
    void terminate();

protected:
    bool event(QEvent* event) override;

private:
    /// Returns Cancel during a call of the delegate.
    TerminateReply askDelegate();

    ApplicationDelegate* m_delegate = nullptr;
    bool m_asking = false;
};

} // namespace platform
