#pragma once

#include "platform/services/Error.h"
#include "platform/ui/Application.h"

#include <memory>
#include <optional>

class QUndoStack;

namespace platform {
class ManagedObjectContext;
class ManagedObjectModel;
class PersistentStoreCoordinator;
} // namespace platform

namespace vellumcap {

class JournalWindow;
class PrefsWindow;

/// Owns the store and the two windows that live as long as the program. The store is built on the
/// first request for the context; a failure is shown, and the next request tries again. Main
/// thread.
class VellumcapAppDelegate : public platform::ApplicationDelegate {
public:
    VellumcapAppDelegate();
    ~VellumcapAppDelegate() override;

    /// The delegate of the shared application object.
    static VellumcapAppDelegate& shared();

    void applicationDidFinishLaunching() override;
    void applicationShouldHandleReopen() override;
    platform::TerminateReply applicationShouldTerminate(
        platform::Application& application) override;
    QUndoStack* windowWillReturnUndoManager() override;

    /// The folder that holds the store and the pictures; not created here.
    QString applicationFilesDirectory() const;
    platform::ManagedObjectModel* managedObjectModel(); ///< nullptr on failure, as the next two
    platform::PersistentStoreCoordinator* persistentStoreCoordinator();
    platform::ManagedObjectContext* managedObjectContext();
    /// The context if it was built already; never tries, so that nothing is shown.
    platform::ManagedObjectContext* builtContext() const { return m_managedObjectContext.get(); }

    JournalWindow* journalWindow() const { return m_journalWindow.get(); } ///< null until opened
    PrefsWindow* prefsWindow() const { return m_prefsWindow.get(); } ///< null until opened

    void saveAction(QObject* sender);
    void openJournalWindow(QObject* sender);
    void openPrefsWindow(QObject* sender);
    /// An action of the launcher: "Watch" is pressing Watch in the journal, which comes to the
    /// front. Any other does nothing.
    void performAction(const QString& name);

    bool respondsTo(const QAction& item) const override;
    bool validateMenuItem(const QAction& item) const override;
    void perform(QAction& item) override;

private:
    /// Makes the folder where it is missing; the error has been shown when this is false.
    bool prepareFilesDirectory();

    std::unique_ptr<platform::ManagedObjectModel> m_managedObjectModel;
    std::unique_ptr<platform::PersistentStoreCoordinator> m_persistentStoreCoordinator;
    std::unique_ptr<platform::ManagedObjectContext> m_managedObjectContext;
    std::unique_ptr<JournalWindow> m_journalWindow;
    std::unique_ptr<PrefsWindow> m_prefsWindow;
};

} // namespace vellumcap
