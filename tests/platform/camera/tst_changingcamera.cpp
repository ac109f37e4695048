#include "platform/camera/CameraRegistry.h"
#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "tests/support/CaptureScene.h"
#include "tests/support/TestMain.h"

using Qt::StringLiterals::operator""_s;

using support::CameraRig;
using support::CameraWish;
using support::quarters;
using support::smallCamera;
using support::wrongQuarter;
using Interruption = platform::CaptureSession::Interruption;
using Scene = support::CaptureScene;

namespace {

/// What a camera's node does when the camera changes its formats.
enum class Change { Goes, Stays };

} // namespace

Q_DECLARE_METATYPE(Change)

/// Sessions with cameras that change what they send, or send what others do not.
class ChangingCameraTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup();
    void followsAChangeOfFormat();
    void followsAChangeWhileItRuns_data();
    void followsAChangeWhileItRuns();
    void survivesManyChanges_data();
    void survivesManyChanges();
    void tellsOfFramesWithoutAPicture_data();
    void tellsOfFramesWithoutAPicture();
    void takesWhatACameraOffers_data();
    void takesWhatACameraOffers();

private:
    CameraRig m_rig;
};

namespace {

constexpr int patience = support::patienceWithCameras;
const QString cameraA = u"cam.a"_s;

/// The first mode is the preferred one.
CameraWish wishOf(const QString& name, const QStringList& modes)
{
    CameraWish result = smallCamera(name, modes.first().section(u':', 0, 0));
    const QString size = modes.first().section(u':', 1).section(u'@', 0, 0);
    result.size = QSize(size.section(u'x', 0, 0).toInt(), size.section(u'x', 1).toInt());
    result.rate = modes.first().section(u'@', 1).toInt();
    result.furtherModes = modes.mid(1);
    return result;
}

void changeModes(support::RigCamera& camera, Change change, const QString& mode)
{
    if (change == Change::Goes) {
        camera.setModes({ mode });
    } else {
        camera.renegotiate({ mode });
    }
}

} // namespace

void ChangingCameraTest::cleanup()
{
    // So that the next test's camera is not taken for this one's.
    QTRY_VERIFY_WITH_TIMEOUT(platform::CameraRegistry::shared().cameras().isEmpty(), patience);
}

void ChangingCameraTest::followsAChangeOfFormat()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    scene.session->stopRunning();
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 0, patience);
    camera->setModes({ u"NV12:320x240@30"_s });
    scene.session->startRunning();
    QTRY_COMPARE_WITH_TIMEOUT(scene.watcher->pixels().size(), QSize(320, 240), patience);
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::None, patience);
}

void ChangingCameraTest::followsAChangeWhileItRuns_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QSize>("size");
    for (const auto& [name, change] :
        { std::pair("goes and returns", Change::Goes), std::pair("stays", Change::Stays) }) {
        const auto row = [name = name, change = change](
                             const char* before, const char* after, QSize size) {
            QTest::addRow("%s, %s to %s", name, before, after)
                << change << QString::fromLatin1(before) << QString::fromLatin1(after) << size;
        };
        row("YUY2", "YUY2:320x240@30", QSize(320, 240));
        row("YUY2", "YUY2:800x600@30", QSize(800, 600));
        row("YUY2", "YUY2:640x480@15", QSize(640, 480));
        row("YUY2", "NV12:640x480@30", QSize(640, 480));
        row("YUY2", "JPEG:320x240@30", QSize(320, 240));
        row("JPEG", "JPEG:800x600@30", QSize(800, 600));
        row("JPEG", "YUY2:640x480@30", QSize(640, 480));
    }
}

void ChangingCameraTest::followsAChangeWhileItRuns()
{
    QFETCH(const Change, change);
    QFETCH(const QString, before);
    QFETCH(const QString, after);
    QFETCH(const QSize, size);
    const auto camera = m_rig.addCamera(smallCamera(cameraA, before));
    camera->show(quarters().scaled(800, 600));
    Scene scene(cameraA);
    platform::CaptureVideoPreviewLayer preview(scene.session);
    preview.setFrameSize(QSize(160, 160));
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);

    changeModes(*camera, change, after);
    scene.watcher->forget();

    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->pixels().size() == size
            && wrongQuarter(scene.watcher->pixels(), quarters()).isEmpty(),
        patience);
    scene.watcher->forget();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 5, patience);
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::None, patience);
    QCOMPARE(scene.watcher->pixels().size(), size);
    QCOMPARE(preview.picture().size(), QSize(160, 120));
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 1, patience); // the former may still be going
}

void ChangingCameraTest::survivesManyChanges_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("goes and returns") << Change::Goes;
    QTest::newRow("stays") << Change::Stays;
}

void ChangingCameraTest::survivesManyChanges()
{
    QFETCH(const Change, change);
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    for (const int pause : { 0, 5, 10, 20, 40, 80, 0, 5, 10, 20, 40, 80 }) {
        changeModes(*camera, change, pause % 20 == 0 ? u"YUY2:320x240@30"_s : u"JPEG:800x600@30"_s);
        QTest::qWait(pause);
    }
    changeModes(*camera, change, u"NV12:400x300@30"_s);
    // PipeWire may take half a minute to give up on a stream that it was still setting up when the
    // camera changed again. Until then it is told that there is no picture.
    const auto isTold = [&scene] { return scene.session->interruption() != Interruption::None; };
    const auto hasFollowed = [&scene] { return scene.watcher->pixels().size() == QSize(400, 300); };
    QTRY_VERIFY_WITH_TIMEOUT(hasFollowed() || isTold(), patience);
    QTRY_VERIFY_WITH_TIMEOUT(hasFollowed() && !isTold(), 3 * patience);
}

void ChangingCameraTest::tellsOfFramesWithoutAPicture_data()
{
    QTest::addColumn<QString>("agreed");
    QTest::addColumn<QString>("sent");
    QTest::newRow("smaller") << "YUY2"
                             << "YUY2:320x240@30";
    QTest::newRow("larger than its buffers") << "YUY2"
                                             << "YUY2:800x600@30";
    QTest::newRow("of fewer bytes") << "YUY2"
                                    << "NV12:640x480@30";
    QTest::newRow("JPEG as raw") << "YUY2"
                                 << "JPEG:640x480@30";
    QTest::newRow("raw as JPEG") << "JPEG"
                                 << "GRAY8:640x480@30";
}

void ChangingCameraTest::tellsOfFramesWithoutAPicture()
{
    QFETCH(const QString, agreed);
    QFETCH(const QString, sent);
    const auto camera = m_rig.addCamera(smallCamera(cameraA, agreed));
    camera->show(quarters());
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);

    camera->lie(sent);
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::Stalled, patience);
    QVERIFY(!scene.watcher->pixels().isNull()); // none was handed out

    scene.watcher->forget();
    camera->lie(agreed + u":640x480@30"_s);
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::None, patience);
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    QCOMPARE(wrongQuarter(scene.watcher->pixels(), quarters()), QString());
}

void ChangingCameraTest::takesWhatACameraOffers_data()
{
    QTest::addColumn<QStringList>("modes");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("rate");
    QTest::newRow("2160 lines alone")
        << QStringList{ u"YUY2:3840x2160@30"_s } << "YUY2" << QSize(3840, 2160) << 30.0;
    QTest::newRow("2160 lines of JPEG alone")
        << QStringList{ u"JPEG:3840x2160@30"_s } << "JPEG" << QSize(3840, 2160) << 30.0;
    QTest::newRow("15 a second alone")
        << QStringList{ u"YUY2:1280x720@15"_s } << "YUY2" << QSize(1280, 720) << 15.0;
    QTest::newRow("15 a second at most")
        << QStringList{ u"YUY2:1920x1080@5"_s, u"YUY2:640x480@15"_s, u"NV12:1280x720@15"_s }
        << "NV12" << QSize(1280, 720) << 15.0;
}

void ChangingCameraTest::takesWhatACameraOffers()
{
    QFETCH(const QStringList, modes);
    QFETCH(const QString, encoding);
    QFETCH(const QSize, size);
    QFETCH(const double, rate);
    const auto camera = m_rig.addCamera(wishOf(cameraA, modes));
    camera->show(quarters().scaled(size));
    Scene scene(cameraA);
    const platform::CaptureDeviceFormat format = support::awaitedDevice(cameraA)->activeFormat();
    QCOMPARE(format.mediaSubType, encoding);
    QCOMPARE(format.dimensions, size);
    QCOMPARE(format.videoSupportedFrameRateRanges.first().maxFrameRate, rate);

    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 3, patience);

    QCOMPARE(scene.watcher->pixels().size(), size);
    QCOMPARE(wrongQuarter(scene.watcher->pixels(), quarters()), QString());
    QCOMPARE(scene.session->interruption(), Interruption::None);
}

VELLUMCAP_TEST(ChangingCameraTest)
#include "tst_changingcamera.moc"
