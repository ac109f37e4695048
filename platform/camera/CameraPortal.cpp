#include "platform/camera/CameraPortal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QEventLoop>
#include <QFile>
#include <QThread>

#include <fcntl.h>

namespace platform {

namespace {

constexpr int replyTimeout = 3000; // milliseconds; the portal replies before it asks the user

QString name(const char* text)
{
    return QString::fromLatin1(text);
}

QDBusMessage call(const QDBusConnection& bus, const char* method, const QList<QVariant>& arguments)
{
    auto message = QDBusMessage::createMethodCall(name("org.freedesktop.portal.Desktop"),
        name("/org/freedesktop/portal/desktop"), name("org.freedesktop.portal.Camera"),
        name(method));
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, replyTimeout);
}

} // namespace

/// Runs an event loop of its own, since the answer is a D-Bus signal.
class CameraPortal::Question : public QThread {
    Q_OBJECT
public:
    explicit Question(std::function<void(bool)> answered)
        : m_answered(std::move(answered))
    {
        moveToThread(this); // so that respond() runs on this thread
        start();
    }

    Q_SLOT void respond(uint code, const QVariantMap& /*results*/)
    {
        m_isGranted = code == 0;
        quit();
    }

protected:
    void run() override;

private:
    bool ask(QDBusConnection& bus);

    std::function<void(bool)> m_answered;
    bool m_isGranted = false;
};

void CameraPortal::Question::run()
{
    const QString connection = name("vellumcap-camera-portal");
    {
        auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection);
        if (bus.isConnected() && ask(bus)) {
            exec();
        }
    }
    QDBusConnection::disconnectFromBus(connection);
    m_answered(m_isGranted);
}

bool CameraPortal::Question::ask(QDBusConnection& bus)
{
    const QString token = name("vellumcap");
    QString sender = bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    bus.connect(name("org.freedesktop.portal.Desktop"),
        name("/org/freedesktop/portal/desktop/request/") + sender + u'/' + token,
        name("org.freedesktop.portal.Request"), name("Response"), this,
        SLOT(respond(uint, QVariantMap)));
    const QVariantMap options{ { name("handle_token"), token } };
    return call(bus, "AccessCamera", { options }).type() == QDBusMessage::ReplyMessage;
}

bool CameraPortal::isNeeded()
{
    return QFile::exists(name("/.flatpak-info")) || qEnvironmentVariableIsSet("SNAP")
        || !qEnvironmentVariableIsEmpty("VELLUMCAP_CAMERA_PORTAL");
}

CameraPortal::CameraPortal(std::function<void(bool)> answered)
    : m_question(std::make_unique<Question>(std::move(answered)))
{
}

CameraPortal::~CameraPortal()
{
    m_question->quit();
    m_question->wait();
}

int CameraPortal::openRemote()
{
    const QDBusReply<QDBusUnixFileDescriptor> reply
        = call(QDBusConnection::sessionBus(), "OpenPipeWireRemote", { QVariantMap() });
    return reply.isValid() ? fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 3) : -1;
}

} // namespace platform

#include "CameraPortal.moc"
