#pragma once

#include <QImage>
#include <QMap>
#include <QProcess>
#include <QSize>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace support {

/// What a camera is asked to be.
struct CameraWish {
    QString name; ///< node.name
    QString description; ///< node.description
    QString picture = {}; ///< a file; white without
    QSize size = { 1280, 720 };
    int rate = 30; ///< frames a second
    QString encoding = QStringLiteral("YUY2"); ///< see cameras::CameraMode
    QStringList furtherModes = {}; ///< such as "JPEG:1920x1080@30"
    QMap<QString, QString> properties = {}; ///< of the node
    QStringList controls = {}; ///< that PipeWire can set: V4L2's number, "=" and a menu's choices
};

/// A camera that is plugged in. Its destructor pulls it out. Every call returns when it has taken
/// effect in the camera, and fails the process when it does not: who watches learns of it later.
class RigCamera {
public:
    ~RigCamera();
    RigCamera(const RigCamera&) = delete;
    RigCamera& operator=(const RigCamera&) = delete;

    void freeze(); ///< stays listed, but sends no frames
    void thaw();
    void show(const QString& file);
    void show(const QImage& picture);
    void setModes(const QStringList& modes); ///< while watched, it goes and returns
    void renegotiate(const QStringList& modes); ///< the node stays, and offers these instead
    void lie(const QString& mode); ///< sends pictures in this format, whatever was agreed on
    void refuse(); ///< fails for everybody who wants to watch from now on
    void unplug();

    /// How many streams are linked to it.
    int links() const;
    /// Controls that were set by way of PipeWire, "0x9a090c 1", the latest last.
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

/// Pulls a camera out when this process has let go of every camera: PipeWire 0.3.65 may crash over
/// one that goes while a stream of it begins, as it does under a window that is closed at once.
struct PullOutLast {
    void operator()(RigCamera* camera) const;
};
using CameraOnStage = std::unique_ptr<RigCamera, PullOutLast>;

/// A session bus, PipeWire and WirePlumber of this process's own, in a temporary folder; the
/// process's environment leads to them until it ends. Nobody's own PipeWire or camera is touched.
/// Everything ends with it, and when the process dies. Ready in about 0.2 s.
class CameraRig {
public:
    enum class Start { Running, NotRunning };
    explicit CameraRig(Start start = Start::Running);
    ~CameraRig();
    CameraRig(const CameraRig&) = delete;
    CameraRig& operator=(const CameraRig&) = delete;

    /// Returns once PipeWire lists it.
    [[nodiscard]] std::unique_ptr<RigCamera> addCamera(const CameraWish& wish);
    void setDefaultCamera(const QString& name);

    void startPipeWire();
    void stopPipeWire(); ///< kills it, with WirePlumber

    /// The camera portal, with the user's answer given in advance.
    enum class Answer { Granted, Refused };
    void startPortal(Answer answer);
    void stopPortal();

    /// Starts a program of the camera world in the rig's environment; it dies with the process.
    static void start(QProcess& process, const QString& program, const QStringList& arguments);
    /// What a program prints, which must end well.
    static QByteArray output(const QString& program, const QStringList& arguments);
    /// Where the programs of the build are.
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
