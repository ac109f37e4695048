#include "platform/camera/CameraRegistry.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/camera/V4L2Device.h"
#include "tests/cameras/FakeV4L2.h"
#include "tests/support/CameraRig.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>

#include <cerrno>
#include <cstring>
#include <linux/videodev2.h>
#include <mutex>

using Qt::StringLiterals::operator""_s;

using cameras::FakeProfile;
using platform::CameraFormat;
using platform::CameraNode;
using platform::CameraRegistry;
using platform::CaptureDevice;
using platform::CaptureDeviceFormat;
using platform::Error;
using platform::ExposureMode;
using platform::FocusMode;
using platform::MediaType;
using platform::posixErrorDomain;
using platform::V4L2Device;
using platform::WhiteBalanceMode;
using support::CameraRig;
using support::CameraWish;
using support::RigCamera;

Q_DECLARE_METATYPE(FakeProfile)

class CaptureDeviceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void listsNothingWithoutCameras();
    void listsCameras();
    void findsTheDefault();
    void losesACamera();
    void supportsModes_data();
    void supportsModes();
    void setsModes();
    void setsTheOnlyAutomaticExposure();
    void startsOnce();
    void setsNothingUnlocked();
    void sharesTheLockAmongCopies();
    void failsToLock();
    void isSuspendedByTheShutter();
    void isInUse_data();
    void isInUse();
    void isInUseByAReader();
    void setsModesThroughPipeWire();
    void tellsItsActiveFormat();
    void observesFocus_data();
    void observesFocus();
    void observesNothingElse();
    void listsV4L2Devices();
    void waitsForNoDriver_data();
    void waitsForNoDriver();
    void takesOneThatAnswersAgain();
    void endsAnObservationThatHangs();
    void listsNoDeviceThatHangs();

private:
    std::unique_ptr<RigCamera> plugIn(const char* profilePath = nullptr);
    static CaptureDevice device();

    std::unique_ptr<CameraRig> m_rig;
};

namespace {

const QString path = u"/dev/fake-camera"_s;

QStringList names(MediaType type)
{
    QStringList result;
    for (const CaptureDevice& device : CaptureDevice::devicesWithMediaType(type)) {
        result.append(device.localizedName());
    }
    return result;
}

/// What an observer was told, on whatever thread.
class Told {
public:
    void operator()(bool adjusting)
    {
        const std::lock_guard lock(m_mutex);
        m_all.append(adjusting);
    }
    QList<bool> all() const
    {
        const std::lock_guard lock(m_mutex);
        return m_all;
    }

private:
    mutable std::mutex m_mutex;
    QList<bool> m_all;
};

} // namespace

void CaptureDeviceTest::initTestCase()
{
    m_rig = std::make_unique<CameraRig>();
}

void CaptureDeviceTest::cleanup()
{
    cameras::removeFakeDevices();
    QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 0);
}

std::unique_ptr<RigCamera> CaptureDeviceTest::plugIn(const char* profilePath)
{
    CameraWish wish{ .name = u"cam.a"_s, .description = u"Camera A"_s };
    if (profilePath != nullptr) {
        wish.properties.insert(u"api.v4l2.path"_s, QString::fromLatin1(profilePath));
    }
    auto camera = m_rig->addCamera(wish);
    [] { QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 1); }();
    return camera;
}

CaptureDevice CaptureDeviceTest::device()
{
    return CaptureDevice::deviceWithUniqueID(u"cam.a"_s).value();
}

void CaptureDeviceTest::listsNothingWithoutCameras()
{
    QCOMPARE(names(MediaType::Video), QStringList());
    QCOMPARE(names(MediaType::Muxed), QStringList());
    QVERIFY(!CaptureDevice::defaultDeviceWithMediaType(MediaType::Video).has_value());
    QVERIFY(!CaptureDevice::defaultDeviceWithMediaType(MediaType::Muxed).has_value());
    QVERIFY(!CaptureDevice::deviceWithUniqueID(u"cam.a"_s).has_value());
    QVERIFY(!CaptureDevice::deviceWithUniqueID(QString()).has_value());
}

void CaptureDeviceTest::listsCameras()
{
    const auto first = m_rig->addCamera({ .name = u"cam.b"_s, .description = u"Camera"_s });
    const auto second = m_rig->addCamera({ .name = u"cam.a"_s, .description = u"Camera"_s });
    QTRY_COMPARE(names(MediaType::Video), (QStringList{ u"Camera"_s, u"Camera"_s }));
    const auto devices = CaptureDevice::devicesWithMediaType(MediaType::Video);
    QCOMPARE(devices.at(0).uniqueID(), u"cam.b"_s);
    QCOMPARE(devices.at(1).uniqueID(), u"cam.a"_s);
    QCOMPARE(names(MediaType::Muxed), QStringList());
    QVERIFY(!CaptureDevice::defaultDeviceWithMediaType(MediaType::Muxed).has_value());
    QCOMPARE(device().localizedName(), u"Camera"_s);
}

void CaptureDeviceTest::findsTheDefault()
{
    const auto first = plugIn();
    const auto second = m_rig->addCamera({ .name = u"cam.b"_s, .description = u"Camera B"_s });
    m_rig->setDefaultCamera(u"cam.b"_s);
    const auto standard = [] {
        const auto found = CaptureDevice::defaultDeviceWithMediaType(MediaType::Video);
        return found ? found->uniqueID() : QString();
    };
    QTRY_COMPARE(standard(), u"cam.b"_s);
    m_rig->setDefaultCamera(u"cam.a"_s);
    QTRY_COMPARE(standard(), u"cam.a"_s);
}

void CaptureDeviceTest::losesACamera()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    auto camera = plugIn("/dev/fake-camera");
    CaptureDevice gone = device();
    QVERIFY(gone.isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    camera.reset();
    QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 0);
    QCOMPARE(gone.uniqueID(), u"cam.a"_s);
    QVERIFY(!gone.isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QVERIFY(!gone.isSuspended());
    QVERIFY(!gone.isInUseByAnotherApplication());
    QCOMPARE(gone.activeFormat().dimensions, QSize());
    Error error;
    QVERIFY(!gone.lockForConfiguration(&error));
    QCOMPARE(error.code, ENODEV);
    gone.setFocusMode(FocusMode::ContinuousAutoFocus);
    gone.unlockForConfiguration();
    QVERIFY(gone.observe(CaptureDevice::Adjustment::Focus, [](bool) {}) != nullptr);
}

void CaptureDeviceTest::supportsModes_data()
{
    using Modes = QList<bool>; // locked, once, continuous
    QTest::addColumn<FakeProfile>("profile");
    QTest::addColumn<Modes>("focus");
    QTest::addColumn<Modes>("exposure");
    QTest::addColumn<Modes>("whiteBalance");
    QTest::newRow("full") << FakeProfile::Full << Modes{ true, true, true }
                          << Modes{ true, false, true } << Modes{ true, true, true };
    QTest::newRow("webcam") << FakeProfile::Webcam << Modes{ true, false, true }
                            << Modes{ true, false, true } << Modes{ true, false, true };
    QTest::newRow("one shot") << FakeProfile::OneShot << Modes{ true, true, false }
                              << Modes{ false, false, false } << Modes{ false, true, false };
    QTest::newRow("plain") << FakeProfile::Plain << Modes{ false, false, false }
                           << Modes{ false, false, false } << Modes{ false, false, false };
}

void CaptureDeviceTest::supportsModes()
{
    QFETCH(FakeProfile, profile);
    cameras::addFakeDevice(path, profile);
    const auto camera = plugIn("/dev/fake-camera");
    const CaptureDevice tested = device();
    QList<bool> focus;
    QList<bool> exposure;
    QList<bool> whiteBalance;
    for (int mode = 0; mode <= 2; ++mode) {
        focus.append(tested.isFocusModeSupported(FocusMode(mode)));
        exposure.append(tested.isExposureModeSupported(ExposureMode(mode)));
        whiteBalance.append(tested.isWhiteBalanceModeSupported(WhiteBalanceMode(mode)));
    }
    QTEST(focus, "focus");
    QTEST(exposure, "exposure");
    QTEST(whiteBalance, "whiteBalance");
}

void CaptureDeviceTest::setsModes()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    CaptureDevice tested = device();
    QVERIFY(tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
    tested.setWhiteBalanceMode(WhiteBalanceMode::ContinuousAutoWhiteBalance);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 1);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_EXPOSURE_AUTO), int(V4L2_EXPOSURE_AUTO));
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_AUTO_WHITE_BALANCE), 1);
    tested.setFocusMode(FocusMode::Locked);
    tested.setExposureMode(ExposureMode::Locked);
    tested.setWhiteBalanceMode(WhiteBalanceMode::Locked);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 0);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_EXPOSURE_AUTO), int(V4L2_EXPOSURE_MANUAL));
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_AUTO_WHITE_BALANCE), 0);
    tested.unlockForConfiguration();
}

void CaptureDeviceTest::setsTheOnlyAutomaticExposure()
{
    cameras::addFakeDevice(path, FakeProfile::Webcam);
    const auto camera = plugIn("/dev/fake-camera");
    CaptureDevice tested = device();
    QVERIFY(tested.lockForConfiguration());
    tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
    tested.unlockForConfiguration();
    QCOMPARE(
        cameras::fakeControl(path, V4L2_CID_EXPOSURE_AUTO), int(V4L2_EXPOSURE_APERTURE_PRIORITY));
}

void CaptureDeviceTest::startsOnce()
{
    cameras::addFakeDevice(path, FakeProfile::OneShot);
    const auto camera = plugIn("/dev/fake-camera");
    CaptureDevice tested = device();
    QVERIFY(tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::AutoFocus);
    tested.setExposureMode(ExposureMode::AutoExpose);
    tested.setWhiteBalanceMode(WhiteBalanceMode::AutoWhiteBalance);
    tested.unlockForConfiguration();
    QCOMPARE(cameras::fakePresses(path, V4L2_CID_AUTO_FOCUS_START), 1);
    QCOMPARE(cameras::fakePresses(path, V4L2_CID_DO_WHITE_BALANCE), 1);
}

void CaptureDeviceTest::setsNothingUnlocked()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    CaptureDevice tested = device();
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QVERIFY(tested.lockForConfiguration());
    tested.unlockForConfiguration();
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 0);
}

void CaptureDeviceTest::sharesTheLockAmongCopies()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    CaptureDevice tested = device();
    CaptureDevice copy = tested;
    QVERIFY(tested.lockForConfiguration());
    QVERIFY(copy.lockForConfiguration());
    copy.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 1);
    copy.unlockForConfiguration();
    tested.setFocusMode(FocusMode::Locked);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 1);
}

void CaptureDeviceTest::failsToLock()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    const V4L2Device other(path);
    QVERIFY(other.claimPriority());
    CaptureDevice tested = device();
    Error error;
    QVERIFY(!tested.lockForConfiguration(&error));
    QCOMPARE(error.domain, QString::fromLatin1(posixErrorDomain));
    QCOMPARE(error.code, EBUSY);
    QCOMPARE(error.localizedDescription, u"The camera “Camera A” cannot be set up."_s);
    QCOMPARE(error.failureReason, u"Another program is setting it up."_s);
    QVERIFY(!tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 0);
}

void CaptureDeviceTest::isSuspendedByTheShutter()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    QVERIFY(!device().isSuspended());
    cameras::setFakeControl(path, V4L2_CID_PRIVACY, 1);
    QVERIFY(device().isSuspended());
}

void CaptureDeviceTest::isInUse_data()
{
    QTest::addColumn<FakeProfile>("profile");
    QTest::addColumn<bool>("inUse");
    QTest::newRow("free") << FakeProfile::Full << false;
    QTest::newRow("busy") << FakeProfile::Busy << true;
}

void CaptureDeviceTest::isInUse()
{
    QFETCH(FakeProfile, profile);
    cameras::addFakeDevice(path, profile);
    const auto camera = plugIn("/dev/fake-camera");
    QTEST(device().isInUseByAnotherApplication(), "inUse");
}

void CaptureDeviceTest::isInUseByAReader()
{
    const auto camera = plugIn();
    QVERIFY(!device().isInUseByAnotherApplication());
    QProcess reader;
    CameraRig::start(reader, u"gst-launch-1.0"_s,
        { u"-q"_s, u"pipewiresrc"_s, u"always-copy=true"_s, u"target-object=cam.a"_s, u"!"_s,
            u"video/x-raw"_s, u"!"_s, u"fakesink"_s });
    QTRY_VERIFY_WITH_TIMEOUT(device().isInUseByAnotherApplication(), 20000);
    reader.kill();
    reader.waitForFinished();
    QTRY_VERIFY(!device().isInUseByAnotherApplication());
}

void CaptureDeviceTest::setsModesThroughPipeWire()
{
    // The device is named, but cannot be opened.
    const auto camera = m_rig->addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .properties = { { u"api.v4l2.path"_s, path } },
        .controls = { u"0x%1"_s.arg(V4L2_CID_FOCUS_AUTO, 0, 16),
            u"0x%1=1,3"_s.arg(V4L2_CID_EXPOSURE_AUTO, 0, 16) } });
    QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 1);
    CaptureDevice tested = device();
    QVERIFY(tested.isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QVERIFY(!tested.isFocusModeSupported(FocusMode::AutoFocus));
    QVERIFY(tested.isExposureModeSupported(ExposureMode::ContinuousAutoExposure));
    QVERIFY(!tested.isWhiteBalanceModeSupported(WhiteBalanceMode::ContinuousAutoWhiteBalance));
    QVERIFY(!tested.isSuspended());
    QVERIFY(tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
    tested.unlockForConfiguration();
    QTRY_COMPARE(camera->controlsSet(),
        (QStringList{ u"0x%1 1"_s.arg(V4L2_CID_FOCUS_AUTO, 0, 16),
            u"0x%1 3"_s.arg(V4L2_CID_EXPOSURE_AUTO, 0, 16) }));
}

void CaptureDeviceTest::tellsItsActiveFormat()
{
    const auto camera = m_rig->addCamera({ .name = u"cam.a"_s,
        .description = u"Camera A"_s,
        .size = { 640, 480 },
        .furtherModes = { u"JPEG:1920x1080@30"_s, u"YUY2:1920x1080@5"_s } });
    QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 1);
    const CaptureDeviceFormat format = device().activeFormat();
    QCOMPARE(format.mediaSubType, u"JPEG"_s);
    QCOMPARE(format.dimensions, QSize(1920, 1080));
    QCOMPARE(format.videoSupportedFrameRateRanges.size(), 1);
    QCOMPARE(format.videoSupportedFrameRateRanges.first().maxFrameRate, 30.0);
}

void CaptureDeviceTest::observesFocus_data()
{
    QTest::addColumn<bool>("events");
    QTest::newRow("told by the driver") << true;
    QTest::newRow("asked for now and then") << false;
}

void CaptureDeviceTest::observesFocus()
{
    QFETCH(bool, events);
    cameras::addFakeDevice(path, FakeProfile::Full);
    cameras::setFakeEvents(path, events);
    const auto camera = plugIn("/dev/fake-camera");
    Told told;
    auto observation = device().observe(
        CaptureDevice::Adjustment::Focus, [&told](bool adjusting) { told(adjusting); });
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_BUSY);
    QTRY_COMPARE(told.all(), QList<bool>{ true });
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_REACHED);
    QTRY_COMPARE(told.all(), (QList<bool>{ true, false }));
    // Pulled out: nothing more is told, and the observation can be ended.
    cameras::removeFakeDevices();
    observation.reset();
    QCOMPARE(told.all(), (QList<bool>{ true, false }));
}

void CaptureDeviceTest::observesNothingElse()
{
    cameras::addFakeDevice(path, FakeProfile::Webcam);
    const auto camera = plugIn("/dev/fake-camera");
    Told told;
    QList<std::shared_ptr<CaptureDevice::Observation>> observations;
    for (const auto adjustment : { CaptureDevice::Adjustment::Focus,
             CaptureDevice::Adjustment::Exposure, CaptureDevice::Adjustment::WhiteBalance }) {
        observations.append(
            device().observe(adjustment, [&told](bool adjusting) { told(adjusting); }));
        QVERIFY(observations.last() != nullptr);
    }
    CaptureDevice tested = device();
    QVERIFY(tested.lockForConfiguration());
    tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
    tested.unlockForConfiguration();
    observations.clear();
    QCOMPARE(told.all(), QList<bool>());
}

void CaptureDeviceTest::listsV4L2Devices()
{
    const QTemporaryDir folder;
    for (const char* name : { "video10", "video2", "video3", "videotape" }) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const QString second = folder.filePath(u"video2"_s);
    const QString tenth = folder.filePath(u"video10"_s);
    cameras::addFakeDevice(tenth, FakeProfile::Full);
    cameras::addFakeDevice(second, FakeProfile::Plain);
    const QList<CameraNode> nodes = platform::v4l2Cameras(folder.path());
    QCOMPARE(nodes.size(), 2); // the others are files
    QCOMPARE(nodes.at(0).name, second);
    QCOMPARE(nodes.at(1).name, tenth);
    QCOMPARE(nodes.at(0).devicePath, second);
    QCOMPARE(nodes.at(0).description, u"Fake Camera"_s);
    const auto& formats = nodes.at(0).formats;
    QCOMPARE(formats.size(), 5);
    QCOMPARE(formats.at(0).encoding, CameraFormat::Encoding::YUY2);
    QCOMPARE(formats.at(0).size, QSize(640, 480));
    QCOMPARE(formats.at(0).rateNumerator, 30);
    QCOMPARE(formats.at(0).lowestRate, 15.0);
    QList<QSize> sizes;
    for (const CameraFormat& format : formats.mid(1)) {
        QCOMPARE(format.encoding, CameraFormat::Encoding::JPEG);
        QCOMPARE(format.rateNumerator, 30);
        sizes.append(format.size);
    }
    QCOMPARE(sizes, (QList<QSize>{ { 160, 120 }, { 1600, 1200 }, { 1280, 720 }, { 640, 480 } }));
}

void CaptureDeviceTest::waitsForNoDriver_data()
{
    QTest::addColumn<quint64>("call");
    QTest::addColumn<bool>("isLocked");
    QTest::addColumn<int>("code");
    QTest::newRow("open") << quint64(cameras::fakeOpening) << false << ETIMEDOUT;
    QTest::newRow("ask for a control") << quint64(VIDIOC_QUERYCTRL) << false << ETIMEDOUT;
    QTest::newRow("claim the priority") << quint64(VIDIOC_S_PRIORITY) << false << ETIMEDOUT;
    QTest::newRow("set a control") << quint64(VIDIOC_S_CTRL) << true << 0;
    QTest::newRow("close") << quint64(cameras::fakeClosing) << false << ETIMEDOUT;
}

void CaptureDeviceTest::waitsForNoDriver()
{
    QFETCH(const quint64, call);
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    cameras::holdFakeCalls(path, call);
    CaptureDevice tested = device();
    QElapsedTimer timer;
    timer.start();
    const auto use = [&tested](Error* error) {
        (void)tested.isSuspended();
        (void)tested.isInUseByAnotherApplication();
        (void)tested.isFocusModeSupported(FocusMode::ContinuousAutoFocus);
        const bool isLocked = tested.lockForConfiguration(error);
        tested.setFocusMode(FocusMode::ContinuousAutoFocus);
        tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
        tested.unlockForConfiguration();
        return isLocked;
    };
    Error error;
    QTEST(use(&error), "isLocked");
    QTEST(error.code, "code");
    // Others are not waited for either, and no further thread is lost.
    tested = device();
    QVERIFY(!use(nullptr));
    QVERIFY(tested.observe(CaptureDevice::Adjustment::Focus, [](bool) {}) != nullptr);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(cameras::heldFakeCalls(), 1);
}

void CaptureDeviceTest::takesOneThatAnswersAgain()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    const auto camera = plugIn("/dev/fake-camera");
    const QString noAnswer = QString::fromLocal8Bit(strerrordesc_np(ETIMEDOUT));
    cameras::holdFakeCalls(path, VIDIOC_S_PRIORITY);
    Error error;
    QVERIFY(!device().lockForConfiguration(&error));
    QCOMPARE(error.failureReason, noAnswer);
    cameras::releaseFakeCalls();
    // The priority that came too late does not keep others from it.
    CaptureDevice tested = device();
    QTRY_VERIFY(tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 1);
    tested.unlockForConfiguration();
    QCOMPARE(cameras::heldFakeCalls(), 0);
}

void CaptureDeviceTest::endsAnObservationThatHangs()
{
    cameras::addFakeDevice(path, FakeProfile::Full);
    cameras::setFakeEvents(path, false);
    const auto camera = plugIn("/dev/fake-camera");
    Told told;
    auto observation = device().observe(
        CaptureDevice::Adjustment::Focus, [&told](bool adjusting) { told(adjusting); });
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_BUSY);
    QTRY_COMPARE(told.all(), QList<bool>{ true });
    cameras::holdFakeCalls(path, VIDIOC_G_CTRL);
    QTRY_COMPARE(cameras::heldFakeCalls(), 1);
    QElapsedTimer timer;
    timer.start();
    observation.reset();
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    // It knows that the driver is in use for too long, and leaves it alone.
    QTRY_VERIFY(!device().isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QCOMPARE(cameras::heldFakeCalls(), 1);
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_REACHED);
    cameras::releaseFakeCalls();
    QTRY_VERIFY(device().isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QCOMPARE(told.all(), QList<bool>{ true });
}

void CaptureDeviceTest::listsNoDeviceThatHangs()
{
    const QTemporaryDir folder;
    for (const char* name : { "video1", "video2" }) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        cameras::addFakeDevice(file.fileName(), FakeProfile::Full);
    }
    const QString first = folder.filePath(u"video1"_s);
    cameras::holdFakeCalls(first, VIDIOC_ENUM_FMT);
    const auto names = [&folder] {
        QStringList result;
        for (const CameraNode& node : platform::v4l2Cameras(folder.path())) {
            result.append(node.name.section(u'/', -1));
        }
        return result;
    };
    QCOMPARE(names(), QStringList{ u"video2"_s });
    QCOMPARE(names(), QStringList{ u"video2"_s });
    QCOMPARE(cameras::heldFakeCalls(), 1);
    cameras::releaseFakeCalls();
    QTRY_COMPARE(names(), (QStringList{ u"video1"_s, u"video2"_s }));
}

VELLUMCAP_TEST(CaptureDeviceTest)
#include "tst_capturedevice.moc"
