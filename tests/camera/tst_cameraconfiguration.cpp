#include "camera/CaptureWindow.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/ui/Sheet.h"
#include "tests/cameras/FakeV4L2.h"
#include "tests/support/Controls.h"
#include "tests/support/LogLines.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"
#include "tests/support/Threads.h"
#include "watch/WatchWindow.h"

#include <QElapsedTimer>

#include <linux/videodev2.h>

using namespace Qt::StringLiterals;

using cameras::FakeProfile;
using platform::CaptureDevice;
using support::CameraOnStage;
using support::CameraRig;
using support::LogLines;
using support::Program;
using support::threadsNamed;

Q_DECLARE_METATYPE(FakeProfile)

namespace {

const QString path = u"/dev/fake-camera"_s;

int control(quint32 id)
{
    return cameras::fakeControl(path, id);
}

enum class Window { Scan, Watch };

void open(Program& program, Window window)
{
    if (window == Window::Scan) {
        program.journal().scan();
    } else {
        program.journal().watch();
    }
}

vellumcap::ScanningWindow& opened(Program& program, Window window)
{
    open(program, window);
    return window == Window::Scan
        ? static_cast<vellumcap::ScanningWindow&>(*program.journal().captureWindow())
        : *program.journal().watchWindow();
}

} // namespace

Q_DECLARE_METATYPE(Window)

/// Which settings the windows with a camera change on it, and what they log about it.
class CameraConfiguration : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void adjustsContinuously_data();
    void adjustsContinuously();
    void pressesButtonsForScanningOnly_data();
    void pressesButtonsForScanningOnly();
    void adjustsCamerasInUseWhileWatchingOnly_data();
    void adjustsCamerasInUseWhileWatchingOnly();
    void logsAdjustmentsWhileScanningOnly_data();
    void logsAdjustmentsWhileScanningOnly();
    void opensAndCancelsWhileTheDriverHangs_data();
    void opensAndCancelsWhileTheDriverHangs();
    void cancelsWhileAnObservationHangs();
    void quitsWhileTheDriverHangs();
    void cleanupTestCase();

private:
    CameraOnStage plugIn(FakeProfile profile);

    std::unique_ptr<CameraRig> m_rig;
};

void CameraConfiguration::initTestCase()
{
    m_rig = std::make_unique<CameraRig>();
}

void CameraConfiguration::cleanup()
{
    cameras::removeFakeDevices();
    QTRY_VERIFY(CaptureDevice::devicesWithMediaType(platform::MediaType::Video).isEmpty());
}

CameraOnStage CameraConfiguration::plugIn(FakeProfile profile)
{
    cameras::addFakeDevice(path, profile);
    support::CameraWish wish{ u"a"_s, u"Camera"_s };
    wish.properties.insert(u"api.v4l2.path"_s, path);
    return support::plugIn(*m_rig, wish);
}

void CameraConfiguration::adjustsContinuously_data()
{
    QTest::addColumn<Window>("window");
    QTest::addColumn<int>("whiteBalance");

    QTest::newRow("scan") << Window::Scan << 1;
    QTest::newRow("watch") << Window::Watch << 0;
}

void CameraConfiguration::adjustsContinuously()
{
    QFETCH(Window, window);
    QFETCH(int, whiteBalance);
    const auto camera = plugIn(FakeProfile::Full);
    cameras::setFakeControl(path, V4L2_CID_FOCUS_AUTO, 0);
    cameras::setFakeControl(path, V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL);
    cameras::setFakeControl(path, V4L2_CID_AUTO_WHITE_BALANCE, 0);
    Program program;

    open(program, window);

    QCOMPARE(control(V4L2_CID_FOCUS_AUTO), 1);
    QCOMPARE(control(V4L2_CID_EXPOSURE_AUTO), static_cast<int>(V4L2_EXPOSURE_AUTO));
    QCOMPARE(control(V4L2_CID_AUTO_WHITE_BALANCE), whiteBalance);
}

void CameraConfiguration::pressesButtonsForScanningOnly_data()
{
    QTest::addColumn<Window>("window");
    QTest::addColumn<int>("presses");

    QTest::newRow("scan") << Window::Scan << 1;
    QTest::newRow("watch") << Window::Watch << 0;
}

void CameraConfiguration::pressesButtonsForScanningOnly()
{
    QFETCH(Window, window);
    QFETCH(int, presses);
    const auto camera = plugIn(FakeProfile::OneShot);
    Program program;

    open(program, window);

    QCOMPARE(cameras::fakePresses(path, V4L2_CID_AUTO_FOCUS_START), presses);
    QCOMPARE(cameras::fakePresses(path, V4L2_CID_DO_WHITE_BALANCE), presses);
}

void CameraConfiguration::adjustsCamerasInUseWhileWatchingOnly_data()
{
    QTest::addColumn<Window>("window");
    QTest::addColumn<FakeProfile>("profile");
    QTest::addColumn<bool>("shutterClosed");
    QTest::addColumn<int>("focus");

    QTest::newRow("scan, shutter closed") << Window::Scan << FakeProfile::Full << true << 0;
    QTest::newRow("scan, in use elsewhere") << Window::Scan << FakeProfile::Busy << false << 0;
    QTest::newRow("watch, shutter closed") << Window::Watch << FakeProfile::Full << true << 1;
    QTest::newRow("watch, in use elsewhere") << Window::Watch << FakeProfile::Busy << false << 1;
}

void CameraConfiguration::adjustsCamerasInUseWhileWatchingOnly()
{
    QFETCH(Window, window);
    QFETCH(FakeProfile, profile);
    QFETCH(bool, shutterClosed);
    QFETCH(int, focus);
    const auto camera = plugIn(profile);
    cameras::setFakeControl(path, V4L2_CID_FOCUS_AUTO, 0);
    cameras::setFakeControl(path, V4L2_CID_PRIVACY, shutterClosed ? 1 : 0);
    Program program;

    open(program, window);

    QCOMPARE(control(V4L2_CID_FOCUS_AUTO), focus);
}

void CameraConfiguration::logsAdjustmentsWhileScanningOnly_data()
{
    QTest::addColumn<Window>("window");
    QTest::addColumn<int>("lines");

    QTest::newRow("scan") << Window::Scan << 2;
    QTest::newRow("watch") << Window::Watch << 0;
}

void CameraConfiguration::logsAdjustmentsWhileScanningOnly()
{
    QFETCH(Window, window);
    QFETCH(int, lines);
    const auto camera = plugIn(FakeProfile::Full);
    const LogLines log;
    const auto adjust
        = [](int status) { cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, status); };
    const auto said = [] { return LogLines::all().filter(u"adjusting"_s); };
    Program program;
    open(program, window);

    adjust(V4L2_AUTO_FOCUS_STATUS_BUSY);
    QTRY_COMPARE(said().size(), std::min(lines, 1));
    adjust(V4L2_AUTO_FOCUS_STATUS_REACHED);
    QTRY_COMPARE(said().size(), lines);
    // A scan after the watch observes the camera, and logs each adjustment once.
    if (window == Window::Watch) {
        program.journal().watchWindow()->cancelCapture();
        QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
        open(program, Window::Scan);
        adjust(V4L2_AUTO_FOCUS_STATUS_BUSY);
        QTRY_COMPARE(said().size(), 1);
    }

    for (const QString& line : said()) {
        QCOMPARE(line, u"Camera focus is adjusting {kind = 1} - (null)"_s);
    }
}

void CameraConfiguration::opensAndCancelsWhileTheDriverHangs_data()
{
    QTest::addColumn<Window>("window");
    QTest::addColumn<quint64>("call");

    for (const auto& [name, window] :
        { std::pair("scan", Window::Scan), std::pair("watch", Window::Watch) }) {
        QTest::addRow("%s, open", name) << window << static_cast<quint64>(cameras::fakeOpening);
        QTest::addRow("%s, ask", name) << window << static_cast<quint64>(VIDIOC_QUERYCTRL);
        QTest::addRow("%s, claim", name) << window << static_cast<quint64>(VIDIOC_S_PRIORITY);
        QTest::addRow("%s, set", name) << window << static_cast<quint64>(VIDIOC_S_CTRL);
        QTest::addRow("%s, close", name) << window << static_cast<quint64>(cameras::fakeClosing);
    }
}

void CameraConfiguration::opensAndCancelsWhileTheDriverHangs()
{
    QFETCH(const Window, window);
    QFETCH(const quint64, call);
    const auto camera = plugIn(FakeProfile::Full);
    cameras::holdFakeCalls(path, call);
    {
        Program program;
        for (int round = 0; round < 2; ++round) {
            QElapsedTimer timer;
            timer.start();
            auto& sheet = opened(program, window);
            QVERIFY2(
                timer.elapsed() < support::patience, qPrintable(QString::number(timer.elapsed())));
            QVERIFY(platform::attachedSheet(program.journal().window()) == sheet.window());
            // PipeWire has opened the camera already.
            QTRY_VERIFY(support::showsLivePicture(sheet));
            QCOMPARE(support::cameraView(sheet).caption(), QString());

            timer.start();
            support::click(sheet, "buttonCancel");
            QVERIFY2(
                timer.elapsed() < support::patience, qPrintable(QString::number(timer.elapsed())));
            QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
            QCOMPARE(cameras::heldFakeCalls(), 1);
            QCOMPARE(threadsNamed(u"driver"_s), 1);
            QCOMPARE(threadsNamed(u"focus"_s), 0);
        }
    }
    cameras::releaseFakeCalls();
    QTRY_COMPARE(threadsNamed(u"driver"_s), 0);
}

void CameraConfiguration::cancelsWhileAnObservationHangs()
{
    const auto camera = plugIn(FakeProfile::Full);
    cameras::setFakeEvents(path, false);
    {
        Program program;
        auto& sheet = opened(program, Window::Scan);
        cameras::holdFakeCalls(path, VIDIOC_G_CTRL);
        QTRY_COMPARE(cameras::heldFakeCalls(), 1);
        QElapsedTimer timer;
        timer.start();
        support::click(sheet, "buttonCancel");
        QVERIFY2(timer.elapsed() < support::patience, qPrintable(QString::number(timer.elapsed())));
        QTRY_VERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
        QCOMPARE(threadsNamed(u"focus"_s), 1);
    }
    cameras::releaseFakeCalls();
    QTRY_COMPARE(threadsNamed(u"focus"_s), 0);
}

/// Runs another process, whose cleanupTestCase() leaves a driver hanging.
void CameraConfiguration::quitsWhileTheDriverHangs()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
        support::argumentsForCases({ u"pressesButtonsForScanningOnly"_s }));
    QVERIFY(process.waitForFinished(60000));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
        process.readAll().constData());
}

/// The driver hangs when the process ends.
void CameraConfiguration::cleanupTestCase()
{
    const auto camera = plugIn(FakeProfile::Full);
    cameras::holdFakeCalls(path, VIDIOC_S_CTRL);
    Program program;
    open(program, Window::Scan);
    QCOMPARE(cameras::heldFakeCalls(), 1);
}

VELLUMCAP_TEST(CameraConfiguration)
#include "tst_cameraconfiguration.moc"
