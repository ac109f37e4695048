#include "platform/camera/CaptureDevice.h"
#include "platform/camera/V4L2Device.h"
#include "tests/cameras/FakeV4L2.h"
#include "tests/support/CameraRig.h"
#include "tests/support/TestMain.h"

#include <linux/videodev2.h>
#include <mutex>

using namespace Qt::StringLiterals;

using cameras::FakeProfile;
using platform::CameraFormat;
using platform::CameraNode;
using platform::CaptureDevice;
using platform::CaptureDeviceFormat;
using platform::ExposureMode;
using platform::FocusMode;
using platform::MediaType;
using platform::V4L2Device;
using platform::WhiteBalanceMode;
using support::CameraRig;
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
    void givesItsActiveFormat();
    void observesFocus_data();
    void observesFocus();
    void observesNothingElse();
    void listsV4L2Devices();
    void survivesADriverThatHangs_data();
    void survivesADriverThatHangs();
    void usesADriverThatAnswersAgain();
    void endsAnObservationThatHangs();
    void listsNoDeviceThatHangs();

private:
    std::unique_ptr<RigCamera> plugIn();
    std::unique_ptr<RigCamera> plugIn(FakeProfile profile);
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

/// Collects the calls of an observer. Thread-safe.
class Calls {
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
    CameraRig::awaitNoCameras();
}

/// A camera without a device.
std::unique_ptr<RigCamera> CaptureDeviceTest::plugIn()
{
    return m_rig->plugIn({});
}

/// A camera with a device of that profile.
std::unique_ptr<RigCamera> CaptureDeviceTest::plugIn(FakeProfile profile)
{
    cameras::addFakeDevice(path, profile);
    return m_rig->plugIn({ .properties = { { u"api.v4l2.path"_s, path } } });
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
    const auto first = m_rig->plugIn({ .name = u"cam.b"_s, .description = u"Camera"_s });
    const auto second = m_rig->plugIn({ .description = u"Camera"_s });
    QCOMPARE(names(MediaType::Video), (QStringList{ u"Camera"_s, u"Camera"_s }));
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
    const auto second = m_rig->plugIn({ .name = u"cam.b"_s });
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
    auto camera = plugIn(FakeProfile::Full);
    CaptureDevice gone = device();
    QVERIFY(gone.isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    camera.reset();
    CameraRig::awaitNoCameras();
    QCOMPARE(gone.uniqueID(), u"cam.a"_s);
    QVERIFY(!gone.isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QVERIFY(!gone.isSuspended());
    QVERIFY(!gone.isInUseByAnotherApplication());
    QVERIFY(gone.activeFormat().videoSupportedFrameRateRanges.isEmpty());
    QVERIFY(!gone.lockForConfiguration());
    gone.setFocusMode(FocusMode::ContinuousAutoFocus);
    gone.unlockForConfiguration();
    QVERIFY(gone.observe(CaptureDevice::Adjustment::Focus, [](bool) {}) == nullptr);
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
    const auto camera = plugIn(profile);
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
    const auto camera = plugIn(FakeProfile::Full);
    CaptureDevice tested = device();
    QVERIFY(tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
    tested.setWhiteBalanceMode(WhiteBalanceMode::ContinuousAutoWhiteBalance);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 1);
    QCOMPARE(
        cameras::fakeControl(path, V4L2_CID_EXPOSURE_AUTO), static_cast<int>(V4L2_EXPOSURE_AUTO));
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_AUTO_WHITE_BALANCE), 1);
    tested.setFocusMode(FocusMode::Locked);
    tested.setExposureMode(ExposureMode::Locked);
    tested.setWhiteBalanceMode(WhiteBalanceMode::Locked);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 0);
    QCOMPARE(
        cameras::fakeControl(path, V4L2_CID_EXPOSURE_AUTO), static_cast<int>(V4L2_EXPOSURE_MANUAL));
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_AUTO_WHITE_BALANCE), 0);
    tested.unlockForConfiguration();
}

void CaptureDeviceTest::setsTheOnlyAutomaticExposure()
{
    const auto camera = plugIn(FakeProfile::Webcam);
    CaptureDevice tested = device();
    QVERIFY(tested.lockForConfiguration());
    tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
    tested.unlockForConfiguration();
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_EXPOSURE_AUTO),
        static_cast<int>(V4L2_EXPOSURE_APERTURE_PRIORITY));
}

void CaptureDeviceTest::startsOnce()
{
    const auto camera = plugIn(FakeProfile::OneShot);
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
    const auto camera = plugIn(FakeProfile::Full);
    CaptureDevice tested = device();
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QVERIFY(tested.lockForConfiguration());
    tested.unlockForConfiguration();
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 0);
}

void CaptureDeviceTest::sharesTheLockAmongCopies()
{
    const auto camera = plugIn(FakeProfile::Full);
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
    const auto camera = plugIn(FakeProfile::Full);
    const V4L2Device other(path);
    QVERIFY(other.claimPriority());
    CaptureDevice tested = device();
    QVERIFY(!tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 0);
}

void CaptureDeviceTest::isSuspendedByTheShutter()
{
    const auto camera = plugIn(FakeProfile::Full);
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
    const auto camera = plugIn(profile);
    QTEST(device().isInUseByAnotherApplication(), "inUse");
}

void CaptureDeviceTest::isInUseByAReader()
{
    const auto camera = plugIn();
    QVERIFY(!device().isInUseByAnotherApplication());
    support::CameraReader reader(u"cam.a"_s);
    QTRY_VERIFY(device().isInUseByAnotherApplication());
    reader.stop();
    QTRY_VERIFY(!device().isInUseByAnotherApplication());
}

void CaptureDeviceTest::setsModesThroughPipeWire()
{
    // The device has a name but cannot be opened.
    const auto camera = m_rig->plugIn({ .properties = { { u"api.v4l2.path"_s, path } },
        .controls = { u"0x%1"_s.arg(V4L2_CID_FOCUS_AUTO, 0, 16),
            u"0x%1=1,3"_s.arg(V4L2_CID_EXPOSURE_AUTO, 0, 16) } });
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

void CaptureDeviceTest::givesItsActiveFormat()
{
    const auto camera = m_rig->plugIn({ .size = { 640, 480 },
        .furtherModes = { u"JPEG:1920x1080@60"_s, u"YUY2:1920x1080@5"_s } });
    const CaptureDeviceFormat format = device().activeFormat();
    QCOMPARE(format.videoSupportedFrameRateRanges.size(), 1);
    QCOMPARE(format.videoSupportedFrameRateRanges.first().minFrameRate, 60.0);
    QCOMPARE(format.videoSupportedFrameRateRanges.first().maxFrameRate, 60.0);
}

void CaptureDeviceTest::observesFocus_data()
{
    QTest::addColumn<bool>("events");
    QTest::newRow("event of the driver") << true;
    QTest::newRow("read at an interval") << false;
}

void CaptureDeviceTest::observesFocus()
{
    QFETCH(bool, events);
    const auto camera = plugIn(FakeProfile::Full);
    cameras::setFakeEvents(path, events);
    Calls calls;
    auto observation = device().observe(
        CaptureDevice::Adjustment::Focus, [&calls](bool adjusting) { calls(adjusting); });
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_BUSY);
    QTRY_COMPARE(calls.all(), QList<bool>{ true });
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_REACHED);
    QTRY_COMPARE(calls.all(), (QList<bool>{ true, false }));
    // Unplugged: the observer is not called again, and the observation can be ended.
    cameras::removeFakeDevices();
    observation.reset();
    QCOMPARE(calls.all(), (QList<bool>{ true, false }));
}

void CaptureDeviceTest::observesNothingElse()
{
    const auto camera = plugIn(FakeProfile::Webcam);
    for (const auto adjustment : { CaptureDevice::Adjustment::Focus,
             CaptureDevice::Adjustment::Exposure, CaptureDevice::Adjustment::WhiteBalance }) {
        QVERIFY(device().observe(adjustment, [](bool) {}) == nullptr);
    }
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
    QCOMPARE(nodes.size(), 2); // the other two are plain files
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

void CaptureDeviceTest::survivesADriverThatHangs_data()
{
    QTest::addColumn<quint64>("call");
    QTest::addColumn<bool>("isLocked");
    QTest::newRow("open") << static_cast<quint64>(cameras::fakeOpening) << false;
    QTest::newRow("ask for a control") << static_cast<quint64>(VIDIOC_QUERYCTRL) << false;
    QTest::newRow("claim the priority") << static_cast<quint64>(VIDIOC_S_PRIORITY) << false;
    QTest::newRow("set a control") << static_cast<quint64>(VIDIOC_S_CTRL) << true;
    QTest::newRow("close") << static_cast<quint64>(cameras::fakeClosing) << false;
}

void CaptureDeviceTest::survivesADriverThatHangs()
{
    QFETCH(const quint64, call);
    const auto camera = plugIn(FakeProfile::Full);
    cameras::holdFakeCalls(path, call);
    CaptureDevice tested = device();
    const auto use = [&tested] {
        (void)tested.isSuspended();
        (void)tested.isInUseByAnotherApplication();
        (void)tested.isFocusModeSupported(FocusMode::ContinuousAutoFocus);
        const bool isLocked = tested.lockForConfiguration();
        tested.setFocusMode(FocusMode::ContinuousAutoFocus);
        tested.setExposureMode(ExposureMode::ContinuousAutoExposure);
        tested.unlockForConfiguration();
        return isLocked;
    };
    QTEST(use(), "isLocked");
    // Another handle gets no answer either, and no further thread is lost.
    tested = device();
    QVERIFY(!use());
    QVERIFY(tested.observe(CaptureDevice::Adjustment::Focus, [](bool) {}) == nullptr);
    QCOMPARE(cameras::heldFakeCalls(), 1);
}

void CaptureDeviceTest::usesADriverThatAnswersAgain()
{
    const auto camera = plugIn(FakeProfile::Full);
    cameras::holdFakeCalls(path, VIDIOC_S_PRIORITY);
    QVERIFY(!device().lockForConfiguration());
    cameras::releaseFakeCalls();
    // The priority that was granted too late is given up.
    CaptureDevice tested = device();
    QTRY_VERIFY(tested.lockForConfiguration());
    tested.setFocusMode(FocusMode::ContinuousAutoFocus);
    QCOMPARE(cameras::fakeControl(path, V4L2_CID_FOCUS_AUTO), 1);
    tested.unlockForConfiguration();
    QCOMPARE(cameras::heldFakeCalls(), 0);
}

void CaptureDeviceTest::endsAnObservationThatHangs()
{
    const auto camera = plugIn(FakeProfile::Full);
    cameras::setFakeEvents(path, false);
    Calls calls;
    auto observation = device().observe(
        CaptureDevice::Adjustment::Focus, [&calls](bool adjusting) { calls(adjusting); });
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_BUSY);
    QTRY_COMPARE(calls.all(), QList<bool>{ true });
    cameras::holdFakeCalls(path, VIDIOC_G_CTRL);
    QTRY_COMPARE(cameras::heldFakeCalls(), 1);
    observation.reset(); // returns although the driver holds the call
    // The driver is then treated as one that does not respond.
    QTRY_VERIFY(!device().isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QCOMPARE(cameras::heldFakeCalls(), 1);
    cameras::setFakeControl(path, V4L2_CID_AUTO_FOCUS_STATUS, V4L2_AUTO_FOCUS_STATUS_REACHED);
    cameras::releaseFakeCalls();
    QTRY_VERIFY(device().isFocusModeSupported(FocusMode::ContinuousAutoFocus));
    QCOMPARE(calls.all(), QList<bool>{ true });
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
