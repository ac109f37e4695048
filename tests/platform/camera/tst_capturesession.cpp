#include "platform/camera/CameraRegistry.h"
#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "tests/support/CaptureScene.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"
#include "tests/support/Threads.h"

#include <QFile>
#include <QSignalSpy>

#include <atomic>
#include <future>

using Qt::StringLiterals::operator""_s;

using platform::CaptureSession;
using support::CameraRig;
using support::CameraWish;
using support::quarters;
using support::smallCamera;
using support::threadsNamed;
using support::wrongQuarter;
using Interruption = platform::CaptureSession::Interruption;
using Scene = support::CaptureScene;

/// Sessions with cameras of PipeWire that need no hardware.
class CaptureSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup();
    void handsOutWhatTheCameraSees_data();
    void handsOutWhatTheCameraSees();
    void countsTheFramesOfARun();
    void tellsThatThereIsNoCamera();
    void tellsOfAStall();
    void takesAnUnpluggedCameraUpAgain();
    void neverShowsAnotherCamera();
    void servesTwoCamerasAtOnce();
    void tellsOfARefusal();
    void letsGoOfTheCamera();
    void survivesHasteWithStartAndStop();
    void survivesItsEndAtAnyMoment_data();
    void survivesItsEndAtAnyMoment();
    void givesABusyDelegateTheNewestFrame();
    void keepsMemoryFlat();
    void leavesNoThreadBehind();

private:
    CameraRig m_rig;
};

namespace {

constexpr QSize cameraSize(640, 480);
constexpr int patience = support::patienceWithCameras;

const QString cameraA = u"cam.a"_s;
const QString cameraB = u"cam.b"_s;

int threadCount()
{
    return int(support::threadNames().size());
}

} // namespace

void CaptureSessionTest::cleanup()
{
    // So that the next test's camera is not taken for this one's.
    QTRY_VERIFY_WITH_TIMEOUT(platform::CameraRegistry::shared().cameras().isEmpty(), patience);
}

void CaptureSessionTest::handsOutWhatTheCameraSees_data()
{
    QTest::addColumn<QString>("encoding");
    for (const char* name :
        { "BGRx", "BGRA", "RGBx", "RGB", "YUY2", "UYVY", "NV12", "I420", "JPEG" }) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void CaptureSessionTest::handsOutWhatTheCameraSees()
{
    QFETCH(QString, encoding);

    const auto camera = m_rig.addCamera(smallCamera(cameraA, encoding));
    camera->show(quarters());
    Scene scene(cameraA);
    platform::CaptureVideoPreviewLayer preview(scene.session);
    preview.setFrameSize(QSize(160, 160));
    preview.connection()->setVideoMirrored(true);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    const QImage pixels = scene.watcher->pixels();
    QCOMPARE(pixels.format(), QImage::Format_RGB32);
    QCOMPARE(pixels.size(), cameraSize);
    QCOMPARE(wrongQuarter(pixels, quarters()), QString());
    QTRY_VERIFY_WITH_TIMEOUT(!preview.picture().isNull(), patience);
    QCOMPARE(preview.picture().size(), QSize(160, 120));
    QCOMPARE(wrongQuarter(preview.picture(), quarters().mirrored(true, false)), QString());
    QCOMPARE(scene.session->interruption(), Interruption::None);
    QVERIFY(scene.told.isEmpty());
}

void CaptureSessionTest::countsTheFramesOfARun()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    for (int run = 0; run < 2; ++run) {
        scene.watcher->forget();
        scene.session->startRunning();
        QVERIFY(scene.session->isRunning());
        QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() >= 3, patience);
        scene.session->stopRunning();
        QVERIFY(!scene.session->isRunning());
        const QList<quint64> sequences = scene.watcher->sequences();
        QVERIFY(sequences.first() < 30);
        QVERIFY(std::is_sorted(sequences.cbegin(), sequences.cend(), std::less_equal()));
    }
}

void CaptureSessionTest::tellsThatThereIsNoCamera()
{
    CaptureSession session;
    int calls = 0;
    session.setInterruptionObserver([&calls] { ++calls; });
    session.addInput(nullptr);
    session.startRunning();
    QVERIFY(session.isRunning());
    QCOMPARE(session.interruption(), Interruption::NoCamera);
    QCOMPARE(calls, 0);
    QTRY_COMPARE(calls, 1);
    session.stopRunning();
    QCOMPARE(session.interruption(), Interruption::None);
}

void CaptureSessionTest::tellsOfAStall()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    camera->freeze();
    QTRY_COMPARE_WITH_TIMEOUT(scene.told, QList<Interruption>{ Interruption::Stalled }, patience);
    scene.watcher->forget();
    camera->thaw();
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::None, patience);
    QVERIFY(scene.watcher->count() > 0);
}

void CaptureSessionTest::takesAnUnpluggedCameraUpAgain()
{
    auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    camera->unplug();
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::Unplugged, patience);
    QVERIFY(scene.session->isRunning());
    camera.reset();
    scene.watcher->forget();
    CameraWish other = smallCamera(cameraA, u"JPEG"_s);
    other.size = QSize(320, 240);
    camera = m_rig.addCamera(other);
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    QCOMPARE(scene.watcher->pixels().size(), QSize(320, 240));
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::None, patience);
    QCOMPARE(scene.told.last(), Interruption::None);
}

void CaptureSessionTest::neverShowsAnotherCamera()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    const auto other = m_rig.addCamera(smallCamera(cameraB));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    camera->unplug();
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::Unplugged, patience);
    scene.watcher->forget();
    // The session manager, which could link the other one, gets to another stream meanwhile.
    Scene another(cameraB);
    another.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(another.watcher->count() > 0, patience);
    QCOMPARE(scene.watcher->count(), 0);
    QCOMPARE(other->links(), 1);
}

void CaptureSessionTest::servesTwoCamerasAtOnce()
{
    const auto first = m_rig.addCamera(smallCamera(cameraA));
    const auto second = m_rig.addCamera(smallCamera(cameraB));
    const QImage red = support::plainPicture(cameraSize, QColor(200, 30, 30));
    const QImage blue = support::plainPicture(cameraSize, QColor(30, 30, 200));
    first->show(red);
    second->show(blue);
    Scene sceneA(cameraA);
    Scene sceneB(cameraB);
    sceneA.session->startRunning();
    sceneB.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(sceneA.watcher->count() > 5 && sceneB.watcher->count() > 5, patience);
    QCOMPARE(wrongQuarter(sceneA.watcher->pixels(), red), QString());
    QCOMPARE(wrongQuarter(sceneB.watcher->pixels(), blue), QString());
    sceneA.session->stopRunning();
    sceneB.watcher->forget();
    QTRY_VERIFY_WITH_TIMEOUT(sceneB.watcher->count() > 5, patience);
}

void CaptureSessionTest::tellsOfARefusal()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    camera->refuse();
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression(u"The camera cam.a cannot be used: .+"_s));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_COMPARE_WITH_TIMEOUT(scene.session->interruption(), Interruption::Refused, patience);
    QCOMPARE(scene.watcher->count(), 0);
}

void CaptureSessionTest::letsGoOfTheCamera()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
    QCOMPARE(camera->links(), 1);
    scene.session->stopRunning();
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 0, patience);
    scene.session->startRunning();
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 1, patience);
    scene.session.reset();
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 0, patience);
}

void CaptureSessionTest::survivesHasteWithStartAndStop()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    Scene scene(cameraA);
    for (int round = 0; round < 50; ++round) {
        scene.session->startRunning();
        if (round % 3 == 0) {
            QTest::qWait(round);
        }
        scene.session->stopRunning();
        if (round % 5 == 0) {
            QCoreApplication::processEvents();
        }
    }
    // What is being handled may still end.
    platform::SerialQueue& queue = *scene.queue;
    std::promise<void> handled;
    queue.async([&handled] { handled.set_value(); });
    handled.get_future().wait();
    scene.watcher->forget();
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 0, patience);
    QCOMPARE(scene.watcher->count(), 0);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 3, patience);
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 1, patience);
    QCOMPARE(scene.session->interruption(), Interruption::None);
}

void CaptureSessionTest::survivesItsEndAtAnyMoment_data()
{
    QTest::addColumn<int>("milliseconds");
    for (const int delay : { 0, 1, 3, 8, 15, 25, 40, 60, 100, 150 }) {
        QTest::addRow("%d ms", delay) << delay;
    }
}

void CaptureSessionTest::survivesItsEndAtAnyMoment()
{
    QFETCH(int, milliseconds);
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    for (int round = 0; round < 5; ++round) {
        Scene scene(cameraA);
        auto preview = std::make_unique<platform::CaptureVideoPreviewLayer>(scene.session);
        preview->setFrameSize(QSize(64, 48));
        scene.session->startRunning();
        QTest::qWait(milliseconds);
        scene.session->stopRunning();
        if (round % 2 == 0) {
            preview.reset();
        }
    }
    // What was begun is ended first, and may be linked for a moment before.
    QTRY_COMPARE_WITH_TIMEOUT(threadsNamed(u"camera"_s), 0, patience);
    QTRY_COMPARE_WITH_TIMEOUT(camera->links(), 0, patience);
}

void CaptureSessionTest::givesABusyDelegateTheNewestFrame()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    std::promise<void> goOn;
    std::atomic<bool> isFirst = true;
    Scene scene(cameraA, [&goOn, &isFirst] {
        if (isFirst.exchange(false)) {
            goOn.get_future().wait();
        }
    });
    platform::CaptureVideoPreviewLayer preview(scene.session);
    preview.setFrameSize(QSize(64, 48));
    int pictures = 0;
    preview.setPictureObserver([&pictures] { ++pictures; });
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() == 1, patience);
    // The preview goes on while the delegate is busy.
    const int before = pictures;
    QTRY_VERIFY_WITH_TIMEOUT(pictures > before + 10, patience);
    QCOMPARE(scene.watcher->count(), 1);
    goOn.set_value();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() >= 2, patience);
    const QList<quint64> sequences = scene.watcher->sequences();
    QVERIFY2(sequences[1] > sequences[0] + 8, "old frames had queued up");
}

void CaptureSessionTest::keepsMemoryFlat()
{
    const auto residentKilobytes = [] {
        QFile statistics(u"/proc/self/statm"_s);
        return statistics.open(QFile::ReadOnly)
            ? statistics.readAll().split(' ').at(1).toLongLong() * 4
            : 0;
    };
    CameraWish large = smallCamera(cameraA);
    large.size = QSize(1920, 1080);
    const auto camera = m_rig.addCamera(large);
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 60, patience);
    const qint64 before = residentKilobytes();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 300, 3 * patience);
    const qint64 after = residentKilobytes();
    QVERIFY2(
        after < before + before / 10, qPrintable(u"%1 kB, then %2 kB"_s.arg(before).arg(after)));
}

void CaptureSessionTest::leavesNoThreadBehind()
{
    const auto camera = m_rig.addCamera(smallCamera(cameraA));
    const int before = threadCount();
    {
        Scene scene(cameraA);
        const platform::CaptureVideoPreviewLayer preview(scene.session);
        for (int round = 0; round < 3; ++round) {
            scene.watcher->forget();
            scene.session->startRunning();
            QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 0, patience);
            QVERIFY(threadCount() > before);
            scene.session->stopRunning();
        }
    }
    // GLib's thread pool keeps a thread for a quarter of a minute.
    QTRY_VERIFY_WITH_TIMEOUT(threadCount() <= before, 2 * patience);
}

VELLUMCAP_TEST(CaptureSessionTest)
#include "tst_capturesession.moc"
