#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/camera/SampleBuffer.h"
#include "tests/support/CaptureScene.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"
#include "tests/support/Threads.h"

#include <QFile>

#include <algorithm>
#include <atomic>
#include <future>
#include <mutex>

using namespace Qt::StringLiterals;

using platform::CaptureSession;
using platform::Interruption;
using support::CameraRig;
using support::quarters;
using support::smallCamera;
using support::threadsNamed;
using support::wrongQuarter;
using Scene = support::CaptureScene;

/// Sessions with virtual PipeWire cameras.
class CaptureSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup();
    void deliversWhatTheCameraSees_data();
    void deliversWhatTheCameraSees();
    void numbersTheFramesOfARun();
    void reportsThatThereIsNoCamera();
    void reportsAStall();
    void reopensAnUnpluggedCamera();
    void neverShowsAnotherCamera();
    void servesTwoCamerasAtOnce();
    void reportsARefusal();
    void closesTheCamera();
    void survivesQuickStartsAndStops();
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
const QString cameraA = u"cam.a"_s;
const QString cameraB = u"cam.b"_s;

int threadCount()
{
    return static_cast<int>(support::threadNames().size());
}

} // namespace

void CaptureSessionTest::cleanup()
{
    // The next test's camera must not be mistaken for this one.
    CameraRig::awaitNoCameras();
}

void CaptureSessionTest::deliversWhatTheCameraSees_data()
{
    QTest::addColumn<QString>("encoding");
    for (const char* name :
        { "BGRx", "BGRA", "RGBx", "RGB", "YUY2", "UYVY", "NV12", "I420", "JPEG" }) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void CaptureSessionTest::deliversWhatTheCameraSees()
{
    QFETCH(QString, encoding);

    const auto camera = m_rig.plugIn(smallCamera(encoding));
    camera->show(quarters());
    Scene scene(cameraA);
    platform::CaptureVideoPreviewLayer preview(scene.session);
    preview.setFrameSize(QSize(160, 160));
    preview.connection()->setVideoMirrored(true);
    QVERIFY(scene.start());
    const QImage pixels = scene.watcher->pixels();
    QCOMPARE(pixels.format(), QImage::Format_RGB32);
    QCOMPARE(pixels.size(), cameraSize);
    QCOMPARE(wrongQuarter(pixels, quarters()), QString());
    QTRY_VERIFY(!preview.picture().isNull());
    QCOMPARE(preview.picture().size(), QSize(160, 120));
    QCOMPARE(wrongQuarter(preview.picture(), quarters().mirrored(true, false)), QString());
    QCOMPARE(scene.session->interruption(), Interruption::None);
    QVERIFY(scene.interruptions.isEmpty());
}

void CaptureSessionTest::numbersTheFramesOfARun()
{
    const auto camera = m_rig.plugIn(smallCamera());
    const Scene scene(cameraA);
    std::mutex mutex;
    QList<quint64> sequences;
    const auto observation = scene.session->observeFrames([&](const platform::SampleBuffer& frame) {
        const std::lock_guard lock(mutex);
        sequences.append(frame.sequence());
    });
    const auto firstThree = [&] {
        const std::lock_guard lock(mutex);
        return sequences.first(std::min<qsizetype>(sequences.size(), 3));
    };
    for (int run = 0; run < 2; ++run) {
        scene.session->startRunning();
        QVERIFY(scene.session->isRunning());
        QTRY_COMPARE(firstThree(), (QList<quint64>{ 1, 2, 3 }));
        scene.session->stopRunning();
        QVERIFY(!scene.session->isRunning());
        sequences.clear();
    }
}

void CaptureSessionTest::reportsThatThereIsNoCamera()
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

void CaptureSessionTest::reportsAStall()
{
    const auto camera = m_rig.plugIn(smallCamera());
    Scene scene(cameraA);
    QVERIFY(scene.start());
    camera->freeze();
    QTRY_COMPARE(scene.interruptions, QList<Interruption>{ Interruption::Stalled });
    scene.watcher->forget();
    camera->thaw();
    QTRY_COMPARE(scene.session->interruption(), Interruption::None);
    QVERIFY(scene.watcher->count() > 0);
}

void CaptureSessionTest::reopensAnUnpluggedCamera()
{
    auto camera = m_rig.plugIn(smallCamera());
    Scene scene(cameraA);
    QVERIFY(scene.start());
    camera->unplug();
    QTRY_COMPARE(scene.session->interruption(), Interruption::Unplugged);
    QVERIFY(scene.session->isRunning());
    camera.reset();
    scene.watcher->forget();
    camera = m_rig.plugIn({ .size = { 320, 240 }, .encoding = u"JPEG"_s });
    QTRY_VERIFY(scene.watcher->count() > 0);
    QCOMPARE(scene.watcher->pixels().size(), QSize(320, 240));
    QTRY_COMPARE(scene.session->interruption(), Interruption::None);
    QCOMPARE(scene.interruptions.last(), Interruption::None);
}

void CaptureSessionTest::neverShowsAnotherCamera()
{
    const auto camera = m_rig.plugIn(smallCamera());
    const auto other = m_rig.plugIn({ .name = cameraB, .size = cameraSize });
    Scene scene(cameraA);
    QVERIFY(scene.start());
    camera->unplug();
    QTRY_COMPARE(scene.session->interruption(), Interruption::Unplugged);
    scene.watcher->forget();
    // Meanwhile the session manager, which could link the other camera, handles another stream.
    Scene another(cameraB);
    another.session->startRunning();
    QTRY_VERIFY(another.watcher->count() > 0);
    QCOMPARE(scene.watcher->count(), 0);
    QCOMPARE(other->links(), 1);
}

void CaptureSessionTest::servesTwoCamerasAtOnce()
{
    const auto first = m_rig.plugIn(smallCamera());
    const auto second = m_rig.plugIn({ .name = cameraB, .size = cameraSize });
    const QImage red = support::plainPicture(cameraSize, QColor(200, 30, 30));
    const QImage blue = support::plainPicture(cameraSize, QColor(30, 30, 200));
    first->show(red);
    second->show(blue);
    Scene sceneA(cameraA);
    Scene sceneB(cameraB);
    sceneA.session->startRunning();
    sceneB.session->startRunning();
    QTRY_VERIFY(sceneA.watcher->count() > 5 && sceneB.watcher->count() > 5);
    QCOMPARE(wrongQuarter(sceneA.watcher->pixels(), red), QString());
    QCOMPARE(wrongQuarter(sceneB.watcher->pixels(), blue), QString());
    sceneA.session->stopRunning();
    sceneB.watcher->forget();
    QTRY_VERIFY(sceneB.watcher->count() > 5);
}

void CaptureSessionTest::reportsARefusal()
{
    const auto camera = m_rig.plugIn(smallCamera());
    camera->refuse();
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression(u"The camera cam.a cannot be used: .+"_s));
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_COMPARE(scene.session->interruption(), Interruption::Refused);
    QCOMPARE(scene.watcher->count(), 0);
}

void CaptureSessionTest::closesTheCamera()
{
    const auto camera = m_rig.plugIn(smallCamera());
    Scene scene(cameraA);
    QVERIFY(scene.start());
    QCOMPARE(camera->links(), 1);
    scene.session->stopRunning();
    QTRY_COMPARE(camera->links(), 0);
    scene.session->startRunning();
    QTRY_COMPARE(camera->links(), 1);
    scene.session.reset();
    QTRY_COMPARE(camera->links(), 0);
}

void CaptureSessionTest::survivesQuickStartsAndStops()
{
    const auto camera = m_rig.plugIn(smallCamera());
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
    // The delegate may still be handling a frame.
    platform::SerialQueue& queue = *scene.queue;
    std::promise<void> handled;
    queue.async([&handled] { handled.set_value(); });
    handled.get_future().wait();
    scene.watcher->forget();
    QTRY_COMPARE(camera->links(), 0);
    QCOMPARE(scene.watcher->count(), 0);
    scene.session->startRunning();
    QTRY_VERIFY(scene.watcher->count() > 3);
    QTRY_COMPARE(camera->links(), 1);
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
    const auto camera = m_rig.plugIn(smallCamera());
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
    // A camera whose opening has begun is linked for a moment before it is closed.
    QTRY_COMPARE(threadsNamed(u"camera"_s), 0);
    QTRY_COMPARE(camera->links(), 0);
}

void CaptureSessionTest::givesABusyDelegateTheNewestFrame()
{
    const auto camera = m_rig.plugIn(smallCamera());
    std::promise<void> proceed;
    std::atomic<bool> isFirst = true;
    Scene scene(cameraA, [&proceed, &isFirst] {
        if (isFirst.exchange(false)) {
            proceed.get_future().wait();
        }
    });
    platform::CaptureVideoPreviewLayer preview(scene.session);
    preview.setFrameSize(QSize(64, 48));
    int pictures = 0;
    preview.setPictureObserver([&pictures] { ++pictures; });
    scene.session->startRunning();
    QTRY_VERIFY(scene.watcher->count() == 1);
    // The preview continues while the delegate is busy.
    const int before = pictures;
    QTRY_VERIFY(pictures > before + 10);
    QCOMPARE(scene.watcher->count(), 1);
    proceed.set_value();
    QTRY_VERIFY(scene.watcher->count() >= 2);
    const QList<quint64> sequences = scene.watcher->sequences();
    QVERIFY2(sequences[1] > sequences[0] + 8, "an old frame had waited");
}

void CaptureSessionTest::keepsMemoryFlat()
{
    const auto residentKilobytes = [] {
        QFile statistics(u"/proc/self/statm"_s);
        return statistics.open(QFile::ReadOnly)
            ? statistics.readAll().split(' ').at(1).toLongLong() * 4
            : 0;
    };
    const auto camera = m_rig.plugIn({ .size = { 1920, 1080 } });
    Scene scene(cameraA);
    scene.session->startRunning();
    QTRY_VERIFY(scene.watcher->count() > 60);
    const qint64 before = residentKilobytes();
    QTRY_VERIFY_WITH_TIMEOUT(scene.watcher->count() > 300, 3 * support::patience);
    const qint64 after = residentKilobytes();
    QVERIFY2(
        after < before + before / 10, qPrintable(u"%1 kB, then %2 kB"_s.arg(before).arg(after)));
}

void CaptureSessionTest::leavesNoThreadBehind()
{
    const auto camera = m_rig.plugIn(smallCamera());
    const int before = threadCount();
    {
        Scene scene(cameraA);
        const platform::CaptureVideoPreviewLayer preview(scene.session);
        for (int round = 0; round < 3; ++round) {
            QVERIFY(scene.start());
            QVERIFY(threadCount() > before);
            scene.session->stopRunning();
        }
    }
    // GLib's thread pool keeps an idle thread for 15 seconds.
    QTRY_VERIFY_WITH_TIMEOUT(threadCount() <= before, 2 * support::patience);
}

VELLUMCAP_TEST(CaptureSessionTest)
#include "tst_capturesession.moc"
