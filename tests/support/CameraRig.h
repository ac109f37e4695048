#pragma once

#include <QImage>
#include <QMap>
#include <QProcess>
#include <QSize>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace support {

/// The properties of a camera.
struct CameraWish {
    QString name = QStringLiteral("cam.a"); ///< node.name
    QString description = QStringLiteral("Camera A"); ///< node.description
    QString picture = {}; ///< a file; white without one
    QSize size = { 1280, 720 };
    int rate = 30; ///< frames per second
    QString encoding = QStringLiteral("YUY2"); ///< see cameras::CameraMode
    QStringList furtherModes = {}; ///< such as "JPEG:1920x1080@30"
    QMap<QString, QString> properties = {}; ///< of the node
    QStringList controls = {}; ///< for PipeWire to set: V4L2 number, "=" and choices of a menu
};

/// A camera that is plugged in. The destructor unplugs it. A call returns when it has taken effect
/// in the camera, and ends the process when it fails; readers of the camera notice it later.
class RigCamera {
public:
    ~RigCamera();
    RigCamera(const RigCamera&) = delete;
    RigCamera& operator=(const RigCamera&) = delete;

    void freeze(); ///< stays listed but sends no frames
    void thaw();
    void show(const QString& file);
    void show(const QImage& picture);
    void setModes(const QStringList& modes); ///< replaces the node while it is being read
    void renegotiate(const QStringList& modes); ///< keeps the node, which offers these instead
    void lie(const QString& mode); ///< sends pictures in this format, not in the negotiated one
    void refuse(); ///< fails for every new reader
    void unplug();

    /// The number of streams that are linked to it.
    int links() const;
    /// Controls that were set through PipeWire, such as "0x9a090c 1", the latest last.
    QStringList controlsSet() const;

private:
    friend class CameraRig;
    RigCamera(const CameraWish& wish, const QString& folder);
    void command(const QByteArray& line);

    QString m_name;
    QString m_folder;
    mutable QByteArray m_said;
    mutable QProcess m_process;
};

/// A deleter that waits until this process has closed every camera: PipeWire 0.3.65 may crash when
/// a camera is unplugged while one of its streams starts, as under a window that is closed at once.
struct UnplugWhenClosed {
    void operator()(RigCamera* camera) const;
};
using CameraOnStage = std::unique_ptr<RigCamera, UnplugWhenClosed>;

/// A program that reads a camera through PipeWire: gst-launch-1.0. The destructor kills it.
class CameraReader {
public:
    /// `elements` handle the stream, each with its properties, such as "fdsink fd=1".
    explicit CameraReader(const QString& camera,
        const QStringList& elements
        = { QStringLiteral("video/x-raw"), QStringLiteral("fakesink") });
    ~CameraReader();
    CameraReader(const CameraReader&) = delete;
    CameraReader& operator=(const CameraReader&) = delete;

    void stop();
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
};

/// A session bus, PipeWire and WirePlumber for this process alone, in a temporary folder. The
/// environment of the process points to them during the lifetime of this object; the machine's own
/// PipeWire and cameras are not used. The destructor ends them, as does the end of the process.
/// Ready in about 0.2 s.
class CameraRig {
public:
    enum class Start { Running, NotRunning };
    explicit CameraRig(Start start = Start::Running);
    ~CameraRig();
    CameraRig(const CameraRig&) = delete;
    CameraRig& operator=(const CameraRig&) = delete;

    /// Returns once PipeWire lists the camera.
    [[nodiscard]] std::unique_ptr<RigCamera> addCamera(const CameraWish& wish);
    /// Returns once the program's shared registry lists the camera.
    [[nodiscard]] std::unique_ptr<RigCamera> plugIn(const CameraWish& wish);
    /// Returns once the program's shared registry lists no camera.
    static void awaitNoCameras();
    void setDefaultCamera(const QString& name);

    void startPipeWire();
    void stopPipeWire(); ///< and WirePlumber

    /// The camera portal; the user's answer is given in advance.
    enum class Answer { Granted, Refused };
    void startPortal(Answer answer);
    void stopPortal();

    /// Starts a program in the rig's environment; it is killed when this process ends.
    static void start(QProcess& process, const QString& program, const QStringList& arguments);
    /// What a program prints. Ends this process when the program fails.
    static QByteArray output(const QString& program, const QStringList& arguments);
    /// The path of a program of this build.
    static QString tool(const QString& name);

private:
    void startBus();

    QTemporaryDir m_folder;
    QMap<QByteArray, QByteArray> m_environmentBefore;
    QProcess m_bus;
    QProcess m_pipeWire;
    QProcess m_sessionManager;
    QProcess m_permissions;
    QProcess m_portal;
};

} // namespace support
