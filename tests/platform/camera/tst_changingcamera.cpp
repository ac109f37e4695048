#include "platform/camera/CameraRegistry.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/camera/FormatChoice.h"
#include "tests/support/CaptureScene.h"
#include "tests/support/TestMain.h"

using namespace Qt::StringLiterals;

using platform::Interruption;
using Encoding = platform::CameraFormat::Encoding;
using support::CameraRig;
using support::CameraWish;
using support::quarters;
using support::smallCamera;
using support::wrongQuarter;
using Scene = support::CaptureScene;

namespace {

/// What happens to a camera's node when the camera changes its formats.
enum class Change { NewNode, SameNode };

} // namespace

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(platform::CameraFormat::Encoding)

/// Sessions with cameras that change their formats, send other formats than negotiated, or offer
/// unusual ones.
class ChangingCameraTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup();
    void followsAChangeOfFormat();
    void followsAChangeWhileItRuns_data();
    void followsAChangeWhileItRuns();
    void survivesManyChanges_data();
    void survivesManyChanges();
    void reportsFramesWithoutAPicture_data();
    void reportsFramesWithoutAPicture();
    void usesWhatACameraOffers_data();
    void usesWhatACameraOffers();

private:
    CameraRig m_rig;
};

namespace {

const QString cameraA = u"cam.a"_s;

/// The first mode is the preferred one.
CameraWish wishOf(const QStringList& modes)
{
    CameraWish result = smallCamera(modes.first().section(u':', 0, 0));
    const QString size = modes.first().section(u':', 1).section(u'@', 0, 0);
    result.size = QSize(size.section(u'x', 0, 0).toInt(), size.section(u'x', 1).toInt());
    result.rate = modes.first().section(u'@', 1).toInt();
    result.furtherModes = modes.mid(1);
    return result;
}

void changeModes(support::RigCamera& camera, Change change, const QString& mode)
{
    if (change == Change::NewNode) {
        camera.setModes({ mode });
    } else {
        camera.renegotiate({ mode });
    }
}

} // namespace

void ChangingCameraTest::cleanup()
{
    // The next test's camera must not be mistaken for this one.
    CameraRig::awaitNoCameras();
}

void ChangingCameraTest::followsAChangeOfFormat()
{
    const auto camera = m_rig.plugIn(smallCamera());
    Scene scene(cameraA);
    QVERIFY(scene.start());
    scene.session->stopRunning();
    QTRY_COMPARE(camera->links(), 0);
    camera->setModes({ u"NV12:320x240@30"_s });
    scene.session->startRunning();
    QTRY_COMPARE(scene.watcher->pixels().size(), QSize(320, 240));
    QTRY_COMPARE(scene.session->interruption(), Interruption::None);
}

void ChangingCameraTest::followsAChangeWhileItRuns_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QSize>("size");
    for (const auto& [name, change] :
        { std::pair("new node", Change::NewNode), std::pair("same node", Change::SameNode) }) {
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
    const auto camera = m_rig.plugIn(smallCamera(before));
    camera->show(quarters().scaled(800, 600));
    Scene scene(cameraA);
    platform::CaptureVideoPreviewLayer preview(scene.session);
    preview.setFrameSize(QSize(160, 160));
    QVERIFY(scene.start());

    changeModes(*camera, change, after);
    scene.watcher->forget();

    QTRY_VERIFY(scene.watcher->pixels().size() == size
        && wrongQuarter(scene.watcher->pixels(), quarters()).isEmpty());
    scene.watcher->forget();
    QTRY_VERIFY(scene.watcher->count() > 5);
    QTRY_COMPARE(scene.session->interruption(), Interruption::None);
    QCOMPARE(scene.watcher->pixels().size(), size);
    QCOMPARE(preview.picture().size(), QSize(160, 120));
    QTRY_COMPARE(camera->links(), 1); // the former link may still be there
}

void ChangingCameraTest::survivesManyChanges_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("new node") << Change::NewNode;
    QTest::newRow("same node") << Change::SameNode;
}

void ChangingCameraTest::survivesManyChanges()
{
    QFETCH(const Change, change);
    const auto camera = m_rig.plugIn(smallCamera());
    Scene scene(cameraA);
    QVERIFY(scene.start());
    for (const int pause : { 0, 5, 10, 20, 40, 80, 0, 5, 10, 20, 40, 80 }) {
        changeModes(*camera, change, pause % 20 == 0 ? u"YUY2:320x240@30"_s : u"JPEG:800x600@30"_s);
        QTest::qWait(pause);
    }
    changeModes(*camera, change, u"NV12:400x300@30"_s);
    // PipeWire may take half a minute to give up a stream that it was still setting up when the
    // camera changed again. Until then an interruption is reported.
    const auto isInterrupted
        = [&scene] { return scene.session->interruption() != Interruption::None; };
    const auto hasFollowed = [&scene] { return scene.watcher->pixels().size() == QSize(400, 300); };
    QTRY_VERIFY(hasFollowed() || isInterrupted());
    QTRY_VERIFY_WITH_TIMEOUT(hasFollowed() && !isInterrupted(), 3 * support::patience);
}

void ChangingCameraTest::reportsFramesWithoutAPicture_data()
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

void ChangingCameraTest::reportsFramesWithoutAPicture()
{
    QFETCH(const QString, agreed);
    QFETCH(const QString, sent);
    const auto camera = m_rig.plugIn(smallCamera(agreed));
    camera->show(quarters());
    Scene scene(cameraA);
    QVERIFY(scene.start());

    camera->lie(sent);
    QTRY_COMPARE(scene.session->interruption(), Interruption::Stalled);
    QVERIFY(!scene.watcher->pixels().isNull()); // no frame without a picture was delivered

    scene.watcher->forget();
    camera->lie(agreed + u":640x480@30"_s);
    QTRY_COMPARE(scene.session->interruption(), Interruption::None);
    QTRY_VERIFY(scene.watcher->count() > 0);
    QCOMPARE(wrongQuarter(scene.watcher->pixels(), quarters()), QString());
}

void ChangingCameraTest::usesWhatACameraOffers_data()
{
    QTest::addColumn<QStringList>("modes");
    QTest::addColumn<Encoding>("encoding");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("rate");
    QTest::newRow("only 2160 lines")
        << QStringList{ u"YUY2:3840x2160@30"_s } << Encoding::YUY2 << QSize(3840, 2160) << 30.0;
    QTest::newRow("only 2160 lines of JPEG")
        << QStringList{ u"JPEG:3840x2160@30"_s } << Encoding::JPEG << QSize(3840, 2160) << 30.0;
    QTest::newRow("only 15 per second")
        << QStringList{ u"YUY2:1280x720@15"_s } << Encoding::YUY2 << QSize(1280, 720) << 15.0;
    QTest::newRow("at most 15 per second")
        << QStringList{ u"YUY2:1920x1080@5"_s, u"YUY2:640x480@15"_s, u"NV12:1280x720@15"_s }
        << Encoding::NV12 << QSize(1280, 720) << 15.0;
}

void ChangingCameraTest::usesWhatACameraOffers()
{
    QFETCH(const QStringList, modes);
    QFETCH(const Encoding, encoding);
    QFETCH(const QSize, size);
    QFETCH(const double, rate);
    const auto camera = m_rig.plugIn(wishOf(modes));
    camera->show(quarters().scaled(size));
    Scene scene(cameraA);
    const auto chosen = platform::chosenFormat(
        platform::CameraRegistry::shared().camera(cameraA).value().formats);
    QCOMPARE(chosen->encoding, encoding);
    QCOMPARE(chosen->size, size);
    QCOMPARE(chosen->highestRate(), rate);

    scene.session->startRunning();
    QTRY_VERIFY(scene.watcher->count() > 3);

    QCOMPARE(scene.watcher->pixels().size(), size);
    QCOMPARE(wrongQuarter(scene.watcher->pixels(), quarters()), QString());
    QCOMPARE(scene.session->interruption(), Interruption::None);
}

VELLUMCAP_TEST(ChangingCameraTest)
#include "tst_changingcamera.moc"
