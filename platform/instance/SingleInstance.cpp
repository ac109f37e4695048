#include "platform/instance/SingleInstance.h"

#include "platform/instance/ScriptingInterface.h"
#include "platform/services/Log.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QScopeGuard>
#include <QStringList>
#include <QVariantMap>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

const auto serviceName = u"org.vellumcap.Vellumcap"_s;
const auto objectPath = u"/org/vellumcap/Vellumcap"_s;
const auto applicationInterface = u"org.freedesktop.Application"_s;

const auto startupIdKey = u"desktop-startup-id"_s;
const auto tokenKey = u"activation-token"_s;
constexpr auto startupIdVariable = "DESKTOP_STARTUP_ID";
constexpr auto tokenVariable = "XDG_ACTIVATION_TOKEN";

// Read before the application object exists: it uses them for its first window and unsets them.
const QByteArray ownStartupId = qgetenv(startupIdVariable);
const QByteArray ownToken = qgetenv(tokenVariable);

constexpr int handOverTimeout = 2000; // milliseconds

QVariantMap platformData()
{
    QVariantMap data;
    if (!ownStartupId.isEmpty()) {
        data.insert(startupIdKey, QString::fromUtf8(ownStartupId));
    }
    if (!ownToken.isEmpty()) {
        data.insert(tokenKey, QString::fromUtf8(ownToken));
    }
    return data;
}

/// The org.freedesktop.Application interface of the Desktop Entry Specification.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    ApplicationAdaptor(QObject* object, const InstanceRequests& requests)
        : QDBusAbstractAdaptor(object)
        , m_reopen(requests.reopen)
        , m_performAction(requests.performAction)
    {
    }

public Q_SLOTS:
    void Activate(const QVariantMap& platformData) { withToken(platformData, m_reopen); }

    /// The program opens no files: treated as another start.
    void Open(const QStringList& /*uris*/, const QVariantMap& platformData)
    {
        Activate(platformData);
    }

    void ActivateAction(
        const QString& action, const QVariantList& /*parameter*/, const QVariantMap& platformData)
    {
        withToken(platformData, [&] { m_performAction(action); });
    }

private:
    static void withToken(const QVariantMap& platformData, const std::function<void()>& request)
    {
        // The window system plug-in reads the token from there to raise a window.
        const QByteArray token = platformData.value(tokenKey).toString().toUtf8();
        if (!token.isEmpty() && !token.contains('\0')) {
            qputenv(tokenVariable, token);
        }
        const auto used = qScopeGuard([] { qunsetenv(tokenVariable); });
        request();
    }

    std::function<void()> m_reopen;
    std::function<void(const QString&)> m_performAction;
};

enum class HandOver { Done, OwnerGone };

/// Calls Activate() of the owner of the name, which keeps the name even when it does not answer.
HandOver handOver(QDBusConnection& bus)
{
    QDBusMessage activate = QDBusMessage::createMethodCall(
        serviceName, objectPath, applicationInterface, u"Activate"_s);
    activate.setAutoStartService(false);
    activate << platformData();
    const QDBusMessage reply = bus.call(activate, QDBus::Block, handOverTimeout);
    const QDBusError error(reply);
    if (error.type() == QDBusError::ServiceUnknown) {
        return HandOver::OwnerGone;
    }
    if (error.isValid()) {
        log(u"Vellumcap is running already, but does not answer: %1"_s.arg(error.message()));
    }
    return HandOver::Done;
}

} // namespace

struct SingleInstance::State {
    explicit State(InstanceRequests requests)
        : object(std::move(requests.watch))
    {
        new ApplicationAdaptor(&object, requests);
    }

    ScriptingInterface object; ///< owns the adaptors
    bool isOnBus = false;
};

SingleInstance::SingleInstance() = default;

std::unique_ptr<SingleInstance> SingleInstance::claim(InstanceRequests requests)
{
    std::unique_ptr<SingleInstance> instance(new SingleInstance);
    instance->m_state = std::make_unique<State>(std::move(requests));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return instance;
    }
    // Registered first: calls may arrive as soon as the name is owned.
    bus.registerObject(objectPath, &instance->m_state->object, QDBusConnection::ExportAdaptors);
    instance->m_state->isOnBus = true;
    constexpr int attempts = 3; // an owner may end between the two calls below
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const auto reply = bus.interface()->registerService(
            serviceName, QDBusConnectionInterface::DontQueueService);
        if (!reply.isValid() || reply == QDBusConnectionInterface::ServiceRegistered) {
            return instance;
        }
        if (handOver(bus) == HandOver::Done) {
            return nullptr;
        }
    }
    return instance;
}

SingleInstance::~SingleInstance()
{
    if (m_state->isOnBus) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(serviceName);
        bus.unregisterObject(objectPath);
    }
}

} // namespace platform

#include "SingleInstance.moc"
