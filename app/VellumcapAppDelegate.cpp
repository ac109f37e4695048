#include "app/VellumcapAppDelegate.h"

#include "app/Capture.h"
#include "camera/PrefsWindow.h"
#include "journal/JournalWindow.h"
#include "platform/services/Dispatch.h"
#include "platform/services/StandardFolders.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/ui/Alert.h"

#include <QAction>
#include <QCoreApplication>
#include <QUndoStack>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

QString localized(const char* text)
{
    return QCoreApplication::translate("vellumcap::VellumcapAppDelegate", text);
}

} // namespace

VellumcapAppDelegate::VellumcapAppDelegate()
    : StoreStack(
        [](const platform::EntityDescription& entity) { return std::make_shared<Capture>(entity); })
{
}

VellumcapAppDelegate::~VellumcapAppDelegate() = default;

void VellumcapAppDelegate::applicationDidFinishLaunching()
{
    openJournalWindow();
    platform::dispatchGlobal(platform::QualityOfService::Utility, [] {
        platform::StandardFolders::applicationScripts(platform::StandardFolders::Creation::Yes);
    });
}

void VellumcapAppDelegate::applicationShouldHandleReopen()
{
    openJournalWindow();
}

QUndoStack* VellumcapAppDelegate::windowWillReturnUndoManager()
{
    // Every opening of a menu calls this: it must neither open the store nor show its errors.
    return builtContext() != nullptr ? &builtContext()->undoManager() : nullptr;
}

void VellumcapAppDelegate::saveAction()
{
    platform::ManagedObjectContext* context = managedObjectContext();
    if (context == nullptr) {
        return;
    }
    static_cast<void>(context->commitEditing());
    if (const auto saved = context->save(); !saved) {
        platform::Application::shared().presentError(saved.error());
    }
}

platform::TerminateReply VellumcapAppDelegate::applicationShouldTerminate(
    platform::Application& application)
{
    using platform::TerminateReply;
    platform::ManagedObjectContext* context = builtContext();
    if (context == nullptr) {
        return TerminateReply::Now;
    }
    if (!context->commitEditing()) {
        return TerminateReply::Cancel;
    }
    if (!context->hasChanges()) {
        return TerminateReply::Now;
    }
    const auto saved = context->save();
    if (saved) {
        return TerminateReply::Now;
    }
    if (application.presentError(saved.error())) {
        return TerminateReply::Cancel;
    }
    const platform::Alert alert{
        localized(QT_TR_NOOP("Could not save changes while quitting. Quit anyway?")),
        localized(QT_TR_NOOP("Quitting now will lose any changes you have made since the last "
                             "successful save")),
        { localized(QT_TR_NOOP("Quit anyway")), localized(QT_TR_NOOP("Cancel")) },
    };
    const bool cancelled = alert.runModal() == 1;
    return cancelled ? TerminateReply::Cancel : TerminateReply::Now;
}

void VellumcapAppDelegate::storeCapture(const QImage& image, const QString& value)
{
    Capture::storeCapture(image, value);
    if (m_journalWindow) {
        m_journalWindow->refreshLists();
    }
}

void VellumcapAppDelegate::openJournalWindow()
{
    if (!m_journalWindow) {
        m_journalWindow = std::make_unique<JournalWindow>();
    }
    m_journalWindow->showWindow();
}

void VellumcapAppDelegate::openPrefsWindow()
{
    if (!m_prefsWindow) {
        m_prefsWindow = std::make_unique<PrefsWindow>();
    }
    m_prefsWindow->showWindow();
    m_prefsWindow->window()->raise();
    m_prefsWindow->window()->activateWindow();
}

void VellumcapAppDelegate::performAction(const QString& name)
{
    if (name.compare(u"Watch"_s, Qt::CaseInsensitive) == 0) {
        openJournalWindow();
        m_journalWindow->watch();
    }
}

bool VellumcapAppDelegate::respondsTo(const QAction& item) const
{
    return item.objectName() == u"saveAction"_s || validateMenuItem(item);
}

bool VellumcapAppDelegate::validateMenuItem(const QAction& item) const
{
    // saveAction is never enabled: the journal saves each change, and quitting saves the rest.
    return item.objectName() == u"openJournalWindow"_s || item.objectName() == u"openPrefsWindow"_s;
}

void VellumcapAppDelegate::perform(QAction& item)
{
    if (item.objectName() == u"openJournalWindow"_s) {
        openJournalWindow();
    } else if (item.objectName() == u"openPrefsWindow"_s) {
        openPrefsWindow();
    } else if (item.objectName() == u"saveAction"_s) {
        saveAction();
    }
}

} // namespace vellumcap
