#pragma once

#include "app/StoreStack.h"
#include "platform/ui/Application.h"

#include <memory>

class QUndoStack;

namespace vellumcap {

class JournalWindow;
class PrefsWindow;

/// Owns the store and the two windows that live as long as the program. Main thread.
class VellumcapAppDelegate final : public platform::ApplicationDelegate, public StoreStack {
public:
    VellumcapAppDelegate();
    ~VellumcapAppDelegate() override;

    void applicationDidFinishLaunching() override;
    void applicationShouldHandleReopen() override;
    platform::TerminateReply applicationShouldTerminate(
        platform::Application& application) override;
    QUndoStack* windowWillReturnUndoManager() override;

    JournalWindow* journalWindow() const { return m_journalWindow.get(); } ///< null until opened
    PrefsWindow* prefsWindow() const { return m_prefsWindow.get(); } ///< null until opened

    void storeCapture(const QImage& image, const QString& value) override;

    void saveAction();
    void openJournalWindow();
    void openPrefsWindow();
    /// Performs an action of the desktop's launcher. "Watch", in upper or lower case, opens
    /// the journal window and begins a watch; any other name does nothing.
    void performAction(const QString& name);

    bool respondsTo(const QAction& item) const override;
    bool validateMenuItem(const QAction& item) const override;
    void perform(QAction& item) override;

private:
    std::unique_ptr<JournalWindow> m_journalWindow;
    std::unique_ptr<PrefsWindow> m_prefsWindow;
};

} // namespace vellumcap
