#include "tests/support/CameraRig.h"

#include "platform/camera/CameraRegistry.h"
#include "tests/support/TestMain.h"
#include "tests/support/Threads.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <csignal>
#include <functional>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace support {

namespace {

const QByteArray busConfiguration = R"(<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

// No sound and no cameras of the machine. The Bluetooth part would end WirePlumber when systemd's
// run folder is missing.
const QByteArray sessionManagerMain = R"(alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
)";
const QByteArray sessionManagerBluetooth = R"(bluez_monitor.enabled = false
bluez_midi_monitor = { enabled = false }
)";

void waitUntil(const std::function<bool()>& condition, const char* what)
{
    const QDeadlineTimer deadline(patience);
    while (!condition()) {
        if (deadline.hasExpired()) {
            qFatal("Timed out waiting for %s", what);
        }
        QThread::msleep(5);
    }
}

void end(QProcess& process)
{
    process.terminate();
    if (!process.waitForFinished(2000)) {
        process.kill();
        process.waitForFinished();
    }
}

void write(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("Cannot write %ls", qUtf16Printable(path));
    }
}

QJsonObject properties(const QJsonValue& object)
{
    return object[u"info"_s][u"props"_s].toObject();
}

} // namespace

RigCamera::RigCamera(const CameraWish& wish, const QString& folder)
    : m_name(wish.name)
    , m_folder(folder)
{
    QStringList arguments{ wish.name, wish.description,
        u"%1:%2x%3@%4"_s.arg(wish.encoding)
            .arg(wish.size.width())
            .arg(wish.size.height())
            .arg(wish.rate) };
    arguments += wish.furtherModes;
    if (!wish.picture.isEmpty()) {
        arguments += { u"--picture"_s, wish.picture };
    }
    for (auto each = wish.properties.cbegin(); each != wish.properties.cend(); ++each) {
        arguments += { u"--property"_s, each.key() + u'=' + each.value() };
    }
    for (const QString& control : wish.controls) {
        arguments += { u"--control"_s, control };
    }
    CameraRig::start(m_process, CameraRig::tool(u"virtual_camera"_s), arguments);
    waitUntil(
        [this] {
            m_process.waitForReadyRead(10);
            m_said += m_process.readAllStandardOutput();
            return m_said.startsWith("ready\n");
        },
        "a camera");
}

RigCamera::~RigCamera()
{
    unplug();
}

void UnplugWhenClosed::operator()(RigCamera* camera) const
{
    // A camera that is open has a thread of this name.
    waitUntil([] { return threadsNamed(u"camera"_s) == 0; }, "all cameras to be closed");
    delete camera;
}

void RigCamera::freeze()
{
    command("freeze");
}

void RigCamera::thaw()
{
    command("thaw");
}

void RigCamera::show(const QString& file)
{
    command("image " + QFileInfo(file).absoluteFilePath().toUtf8());
}

void RigCamera::show(const QImage& picture)
{
    const QString file = m_folder + u"/%1.bmp"_s.arg(m_process.processId());
    if (!picture.save(file)) {
        qFatal("Cannot write %ls", qUtf16Printable(file));
    }
    show(file);
}

void RigCamera::setModes(const QStringList& modes)
{
    command("formats " + modes.join(u' ').toUtf8());
}

void RigCamera::renegotiate(const QStringList& modes)
{
    command("renegotiate " + modes.join(u' ').toUtf8());
}

void RigCamera::lie(const QString& mode)
{
    command("lie " + mode.toUtf8());
}

void RigCamera::refuse()
{
    command("refuse");
}

void RigCamera::unplug()
{
    m_process.kill();
    m_process.waitForFinished();
}

int RigCamera::links() const
{
    // pw-dump prints objects that change during the dump as a further list.
    const auto objects = QJsonDocument::fromJson(
        CameraRig::output(u"pw-dump"_s, { u"--no-colors"_s }).replace("\n]\n[\n", ",\n"))
                             .array();
    QJsonValue id;
    for (const auto& object : objects) {
        if (properties(object)[u"node.name"_s].toString() == m_name) {
            id = object[u"id"_s];
        }
    }
    return static_cast<int>(
        std::count_if(objects.begin(), objects.end(), [&id](const QJsonValue& object) {
            return object[u"info"_s][u"output-node-id"_s] == id && !id.isUndefined()
                && !id.isNull();
        }));
}

QStringList RigCamera::controlsSet() const
{
    m_process.waitForReadyRead(0);
    m_said += m_process.readAllStandardOutput();
    QStringList set;
    for (const QByteArray& line : m_said.split('\n')) {
        if (line.startsWith("control ")) {
            set.append(QString::fromUtf8(line.mid(8)));
        }
    }
    return set;
}

void RigCamera::command(const QByteArray& line)
{
    m_said += m_process.readAllStandardOutput();
    const qsizetype before = m_said.size();
    m_process.write(line + '\n');
    waitUntil(
        [&] {
            m_process.waitForReadyRead(10);
            m_said += m_process.readAllStandardOutput();
            return m_said.indexOf("done " + line + '\n', before) >= 0;
        },
        line.constData());
}

CameraReader::CameraReader(const QString& camera, const QStringList& elements)
{
    QStringList arguments{ u"-q"_s, u"pipewiresrc"_s, u"always-copy=true"_s,
        u"target-object="_s + camera };
    for (const QString& element : elements) {
        arguments += u"!"_s;
        arguments += element.split(u' ');
    }
    CameraRig::start(m_process, u"gst-launch-1.0"_s, arguments);
}

CameraReader::~CameraReader()
{
    stop();
}

void CameraReader::stop()
{
    m_process.kill();
    m_process.waitForFinished();
}

CameraRig::CameraRig(Start start)
{
    QDir(m_folder.path()).mkpath(u"run"_s);
    QFile::setPermissions(
        m_folder.filePath(u"run"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const char* name :
        { "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR",
            "XDG_CURRENT_DESKTOP", "XDG_DESKTOP_PORTAL_DIR", "VELLUMCAP_CAMERA_PORTAL" }) {
        m_environmentBefore.insert(name, qgetenv(name));
        qunsetenv(name);
    }
    qputenv("XDG_RUNTIME_DIR", m_folder.filePath(u"run"_s).toUtf8());
    startBus();
    if (start == Start::Running) {
        startPipeWire();
    }
}

CameraRig::~CameraRig()
{
    stopPortal();
    stopPipeWire();
    end(m_bus);
    for (auto each = m_environmentBefore.cbegin(); each != m_environmentBefore.cend(); ++each) {
        if (each->isNull()) {
            qunsetenv(each.key());
        } else {
            qputenv(each.key(), *each);
        }
    }
}

std::unique_ptr<RigCamera> CameraRig::addCamera(const CameraWish& wish)
{
    return std::unique_ptr<RigCamera>(new RigCamera(wish, m_folder.path()));
}

std::unique_ptr<RigCamera> CameraRig::plugIn(const CameraWish& wish)
{
    auto camera = addCamera(wish);
    waitUntil([&wish] { return platform::CameraRegistry::shared().camera(wish.name).has_value(); },
        "a camera in the registry");
    return camera;
}

void CameraRig::awaitNoCameras()
{
    waitUntil(
        [] { return platform::CameraRegistry::shared().cameras().isEmpty(); }, "an empty registry");
}

void CameraRig::setDefaultCamera(const QString& name)
{
    output(u"pw-metadata"_s,
        { u"0"_s, u"default.configured.video.source"_s, u"{\"name\":\"%1\"}"_s.arg(name),
            u"Spa:String:JSON"_s });
}

void CameraRig::startBus()
{
    const QString configuration = m_folder.filePath(u"bus.conf"_s);
    write(configuration, QByteArray(busConfiguration).replace("%1", m_folder.path().toUtf8()));
    start(m_bus, u"dbus-daemon"_s,
        { u"--config-file="_s + configuration, u"--nofork"_s, u"--nopidfile"_s,
            u"--print-address"_s });
    waitUntil(
        [this] {
            m_bus.waitForReadyRead(10);
            return m_bus.canReadLine();
        },
        "the bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
}

void CameraRig::startPipeWire()
{
    const QString config = m_folder.filePath(u"config"_s);
    write(config + u"/wireplumber/main.lua.d/80-rig.lua"_s, sessionManagerMain);
    write(config + u"/wireplumber/bluetooth.lua.d/80-rig.lua"_s, sessionManagerBluetooth);
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, config);
    environment.insert(u"XDG_STATE_HOME"_s, m_folder.filePath(u"state"_s));
    m_pipeWire.setProcessEnvironment(environment);
    m_sessionManager.setProcessEnvironment(environment);
    start(m_pipeWire, u"pipewire"_s, {});
    const QString socket = m_folder.filePath(u"run/pipewire-0"_s);
    waitUntil([&socket] { return QFile::exists(socket); }, "PipeWire");
    start(m_sessionManager, u"wireplumber"_s, {});
    waitUntil(
        [] {
            return output(u"pw-cli"_s, { u"ls"_s, u"Metadata"_s })
                .contains("metadata.name = \"default\"");
        },
        "WirePlumber");
}

void CameraRig::stopPipeWire()
{
    end(m_sessionManager);
    end(m_pipeWire);
}

void CameraRig::startPortal(Answer answer)
{
    const QString portals = m_folder.filePath(u"portals"_s);
    write(portals + u"/rig.portal"_s,
        "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.rig\n"
        "Interfaces=org.freedesktop.impl.portal.Access;org.freedesktop.impl.portal.Lockdown;\n"
        "UseIn=rig\n");
    qputenv("XDG_DESKTOP_PORTAL_DIR", portals.toUtf8());
    qputenv("XDG_CURRENT_DESKTOP", "rig");
    start(m_permissions, u"/usr/libexec/xdg-permission-store"_s, {});
    const auto call = [](const QStringList& arguments) {
        return output(u"gdbus"_s, QStringList{ u"call"_s, u"--session"_s } + arguments);
    };
    const auto isServed = [](const char* service) {
        QProcess wait;
        start(wait, u"gdbus"_s,
            { u"wait"_s, u"--session"_s, u"--timeout=20"_s, QString::fromLatin1(service) });
        return wait.waitForFinished(-1) && wait.exitCode() == 0;
    };
    waitUntil([&] { return isServed("org.freedesktop.impl.portal.PermissionStore"); },
        "the permission store");
    call({ u"-d"_s, u"org.freedesktop.impl.portal.PermissionStore"_s, u"-o"_s,
        u"/org/freedesktop/impl/portal/PermissionStore"_s, u"-m"_s,
        u"org.freedesktop.impl.portal.PermissionStore.SetPermission"_s, u"devices"_s, u"true"_s,
        u"camera"_s, QString(), answer == Answer::Granted ? u"[\"yes\"]"_s : u"[\"no\"]"_s });
    start(m_portal, u"/usr/libexec/xdg-desktop-portal"_s, {});
    waitUntil([&] { return isServed("org.freedesktop.portal.Desktop"); }, "the portal");
}

void CameraRig::stopPortal()
{
    end(m_portal);
    end(m_permissions);
}

void CameraRig::start(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process.setStandardErrorFile(QProcess::nullDevice(), QIODevice::Append);
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        qFatal("Cannot start %ls", qUtf16Printable(program));
    }
}

QByteArray CameraRig::output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    start(process, program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0) {
        qFatal("%ls has failed", qUtf16Printable(program));
    }
    return process.readAllStandardOutput();
}

QString CameraRig::tool(const QString& name)
{
    return QCoreApplication::applicationDirPath() + u'/' + name;
}

} // namespace support
