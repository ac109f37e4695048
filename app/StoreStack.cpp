#include "app/StoreStack.h"

#include "platform/services/FileManager.h"
#include "platform/services/StandardFolders.h"
#include "platform/store/ManagedObjectContext.h"
#include "platform/store/PersistentStoreCoordinator.h"
#include "platform/ui/Application.h"

#include <QDir>

#include <utility>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

constexpr auto errorDomain = "YOUR_ERROR_DOMAIN";
constexpr int filesPathIsAFile = 101;
constexpr int storeNotInitialized = 9999;

platform::Error ownError(int code, const QString& description, const QString& reason = {})
{
    return { QString::fromLatin1(errorDomain), code, description, reason };
}

void present(const platform::Error& error)
{
    platform::Application::shared().presentError(error);
}

} // namespace

StoreStack::StoreStack(MakeObject makeCapture)
    : m_makeCapture(std::move(makeCapture))
{
}

StoreStack::~StoreStack() = default;

StoreStack& StoreStack::shared()
{
    auto* stack = dynamic_cast<StoreStack*>(platform::Application::shared().delegate());
    Q_ASSERT(stack != nullptr);
    return *stack;
}

QString StoreStack::applicationFilesDirectory() const
{
    return QDir(platform::StandardFolders::applicationSupport()).filePath(u"Vellumcap"_s);
}

platform::ManagedObjectModel* StoreStack::managedObjectModel()
{
    if (!m_managedObjectModel) {
        m_managedObjectModel = platform::ManagedObjectModel::fromFile(u":/Vellumcap.model"_s);
        if (m_managedObjectModel) {
            m_managedObjectModel->setObjectFactory(u"Capture", m_makeCapture);
        }
    }
    return m_managedObjectModel.get();
}

bool StoreStack::prepareFilesDirectory()
{
    const QString folder = applicationFilesDirectory();
    const auto check = platform::FileManager::isDirectory(folder);
    if (check) {
        if (!*check) {
            present(ownError(filesPathIsAFile,
                u"Expected a folder to store application data, found a file (%1)."_s.arg(folder)));
        }
        return *check;
    }
    const platform::Error& readError = check.error();
    if (readError.code != platform::fileReadNoSuchFileError) {
        present(readError);
        return false;
    }
    if (const auto created = platform::FileManager::createDirectory(folder); !created) {
        present(created.error());
        return false;
    }
    return true;
}

platform::PersistentStoreCoordinator* StoreStack::persistentStoreCoordinator()
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
    if (const auto added = coordinator->addXmlStore(path); !added) {
        present(added.error());
        return nullptr;
    }
    m_persistentStoreCoordinator = std::move(coordinator);
    return m_persistentStoreCoordinator.get();
}

platform::ManagedObjectContext* StoreStack::managedObjectContext()
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

} // namespace vellumcap
