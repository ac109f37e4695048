#include "app/VellumcapAppDelegate.h"

#include "app/Capture.h"
#include "camera/PrefsWindow.h"
#include "journal/JournalWindow.h"
#include "platform/services/Dispatch.h"
#include "platform/services/FileManager.h"
#include "platform/services/StandardFolders.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"
#include "platform/store/PersistentStoreCoordinator.h"
#include "platform/ui/Alert.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QUndoStack>

using Qt::StringLiterals::operator""_s;

namespace vellumcap {

namespace {

constexpr auto errorDomain = "YOUR_ERROR_DOMAIN";
constexpr int filesPathIsAFile = 101;
constexpr int storeNotInitialized = 9999;

platform::Error ownError(int code, const QString& description, const QString& reason = {})
{
    return { QString::fromLatin1(errorDomain), code, description, reason };
}

bool present(const platform::Error& error)
{
    return platform::Application::shared().presentError(error);
}

QString localized(const char* text)
{
    return QCoreApplication::translate("vellumcap::VellumcapAppDelegate", text);
}

} // namespace

VellumcapAppDelegate::VellumcapAppDelegate() = default;
VellumcapAppDelegate::~VellumcapAppDelegate() = default;

VellumcapAppDelegate& VellumcapAppDelegate::shared()
{
    auto* delegate
        = dynamic_cast<VellumcapAppDelegate*>(platform::Application::shared().delegate());
    Q_ASSERT(delegate != nullptr);
    return *delegate;
}

void VellumcapAppDelegate::applicationDidFinishLaunching()
{
    openJournalWindow(nullptr);
    platform::dispatchGlobal(platform::QualityOfService::Utility, [] {
        platform::StandardFolders::applicationScripts(platform::StandardFolders::Creation::Yes);
    });
}

void VellumcapAppDelegate::applicationShouldHandleReopen()
{
    openJournalWindow(nullptr);
}

QString VellumcapAppDelegate::applicationFilesDirectory() const
{
    return QDir(platform::StandardFolders::applicationSupport()).filePath(u"Vellumcap"_s);
}

platform::ManagedObjectModel* VellumcapAppDelegate::managedObjectModel()
{
    if (!m_managedObjectModel) {
        m_managedObjectModel = platform::ManagedObjectModel::fromFile(u":/Vellumcap.model"_s);
        if (m_managedObjectModel) {
            m_managedObjectModel->setObjectFactory(
                Capture::entityName(), [](const platform::EntityDescription& entity) {
                    return std::make_shared<Capture>(entity);
                });
        }
    }
    return m_managedObjectModel.get();
}

bool VellumcapAppDelegate::prepareFilesDirectory()
{
    const QString folder = applicationFilesDirectory();
    const auto check = platform::FileManager::isDirectory(folder);
    if (const bool* isDirectory = std::get_if<bool>(&check)) {
        if (!*isDirectory) {
            present(ownError(filesPathIsAFile,
                u"Expected a folder to store application data, found a file (%1)."_s.arg(folder)));
        }
        return *isDirectory;
    }
    const auto& readError = std::get<platform::Error>(check);
    if (readError.code != platform::fileReadNoSuchFileError) {
        present(readError);
        return false;
    }
    if (const auto error = platform::FileManager::createDirectory(folder)) {
        present(*error);
        return false;
    }
    return true;
}

platform::PersistentStoreCoordinator* VellumcapAppDelegate::persistentStoreCoordinator()
{
    if (m_persistentStoreCoordinator) {
        return m_persistentStoreCoordinator.get();
    }
    const platform::ManagedObjectModel* model = managedObjectModel();
    if (model == nullptr || !prepareFilesDirectory()) {
        return nullptr;
    }
    auto coordinator = std::make_unique<platform::PersistentStoreCoordinator>(*model);
    const QString path = QDir(applicationFilesDirectory()).filePath(u"Vellumcap.storedata"_s);
    if (const auto error = coordinator->addXmlStore(path)) {
        present(*error);
        return nullptr;
    }
    m_persistentStoreCoordinator = std::move(coordinator);
    return m_persistentStoreCoordinator.get();
}

platform::ManagedObjectContext* VellumcapAppDelegate::managedObjectContext()
{
    if (m_managedObjectContext) {
        return m_managedObjectContext.get();
    }
    platform::PersistentStoreCoordinator* coordinator = persistentStoreCoordinator();
    if (coordinator == nullptr) {
        present(ownError(storeNotInitialized, u"Failed to initialize the store"_s,
            u"There was an error building up the data file."_s));
        return nullptr;
    }
    m_managedObjectContext = std::make_unique<platform::ManagedObjectContext>(*coordinator);
    return m_managedObjectContext.get();
}

QUndoStack* VellumcapAppDelegate::windowWillReturnUndoManager()
{
    // Asked whenever a menu opens: not the moment to open a store, and to fail at it again.
    return m_managedObjectContext ? &m_managedObjectContext->undoManager() : nullptr;
}

void VellumcapAppDelegate::saveAction(QObject* /*sender*/)
{
    platform::ManagedObjectContext* context = managedObjectContext();
    if (context == nullptr) {
        return;
    }
    static_cast<void>(context->commitEditing());
    if (const auto error = context->save()) {
        present(*error);
    }
}

platform::TerminateReply VellumcapAppDelegate::applicationShouldTerminate(
    platform::Application& application)
{
    using platform::TerminateReply;
    if (!m_managedObjectContext) {
        return TerminateReply::Now;
    }
    if (!m_managedObjectContext->commitEditing()) {
        return TerminateReply::Cancel;
    }
    if (!m_managedObjectContext->hasChanges()) {
        return TerminateReply::Now;
    }
    const auto error = m_managedObjectContext->save();
    if (!error) {
        return TerminateReply::Now;
    }
    if (application.presentError(*error)) {
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

void VellumcapAppDelegate::openJournalWindow(QObject* sender)
{
    if (!m_journalWindow) {
        m_journalWindow = std::make_unique<JournalWindow>(u"JournalWindow"_s);
    }
    m_journalWindow->showWindow(sender);
}

void VellumcapAppDelegate::openPrefsWindow(QObject* sender)
{
    if (!m_prefsWindow) {
        m_prefsWindow = std::make_unique<PrefsWindow>(u"PrefsWindow"_s);
    }
    m_prefsWindow->showWindow(sender);
    m_prefsWindow->window()->raise();
    m_prefsWindow->window()->activateWindow();
}

void VellumcapAppDelegate::performAction(const QString& name)
{
    if (name.compare(u"Watch"_s, Qt::CaseInsensitive) == 0) {
        openJournalWindow(nullptr);
        m_journalWindow->watch(static_cast<QObject*>(nullptr));
    }
}

bool VellumcapAppDelegate::respondsTo(const QAction& item) const
{
    return item.objectName() == u"saveAction"_s || validateMenuItem(item);
}

bool VellumcapAppDelegate::validateMenuItem(const QAction& item) const
{
    // Saving is left to the quit flow; the journal saves each change as it is made.
    return item.objectName() == u"openJournalWindow"_s || item.objectName() == u"openPrefsWindow"_s;
}

void VellumcapAppDelegate::perform(QAction& item)
{
    if (item.objectName() == u"openJournalWindow"_s) {
        openJournalWindow(&item);
    } else if (item.objectName() == u"openPrefsWindow"_s) {
        openPrefsWindow(&item);
    } else if (item.objectName() == u"saveAction"_s) {
        saveAction(&item);
    }
}

} // namespace vellumcap
