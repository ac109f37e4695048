#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/graphics/ImageFilter.h"
#include "tests/support/CameraRig.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>
#include <QPainter>

#include <thread>

using namespace Qt::StringLiterals;

using platform::CaptureVideoPreviewLayer;
using platform::ImageFilter;
using support::CameraRig;

class CaptureVideoPreviewLayerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void hasNoConnectionWithoutInput();
    void isNeverLargerThanTheSource();
    void keepsItsPictureWhenTheSessionStops();
    void followsFiltersMirroringAndSizeWhileItIsStopped();
    void callsItsObserverOnceForManyPictures();

private:
    std::shared_ptr<CaptureVideoPreviewLayer> shown(QSize area);

    CameraRig m_rig;
    std::unique_ptr<support::RigCamera> m_camera;
    std::shared_ptr<platform::CaptureSession> m_session;
};

namespace {

constexpr QSize cameraSize(320, 240);
const QColor dark(80, 60, 40);

/// Dark on the left, white on the right.
QImage darkAndWhite()
{
    QImage picture = support::plainPicture(cameraSize, Qt::white);
    QPainter(&picture).fillRect(0, 0, cameraSize.width() / 2, cameraSize.height(), dark);
    return picture;
}

int leftRed(const CaptureVideoPreviewLayer& layer)
{
    const QImage picture = layer.picture();
    return picture.pixelColor(picture.width() / 8, picture.height() / 2).red();
}

} // namespace

void CaptureVideoPreviewLayerTest::init()
{
    m_camera = m_rig.plugIn({ .size = cameraSize, .encoding = u"BGRx"_s });
    m_camera->show(darkAndWhite());
    m_session = std::make_shared<platform::CaptureSession>();
    m_session->addInput(platform::CaptureDeviceInput::create(
        platform::CaptureDevice::deviceWithUniqueID(u"cam.a"_s)));
}

void CaptureVideoPreviewLayerTest::cleanup()
{
    m_session.reset();
    m_camera.reset();
    CameraRig::awaitNoCameras();
}

/// A layer with its first picture; the session runs.
std::shared_ptr<CaptureVideoPreviewLayer> CaptureVideoPreviewLayerTest::shown(QSize area)
{
    auto layer = std::make_shared<CaptureVideoPreviewLayer>(m_session);
    layer->setFrameSize(area);
    m_session->startRunning();
    const bool isShown
        = QTest::qWaitFor([&layer] { return !layer->picture().isNull(); }, support::patience);
    return isShown ? layer : nullptr;
}

void CaptureVideoPreviewLayerTest::hasNoConnectionWithoutInput()
{
    const auto session = std::make_shared<platform::CaptureSession>();
    CaptureVideoPreviewLayer layer(session);
    QVERIFY(!layer.connection());
    session->addInput(platform::CaptureDeviceInput::create(
        platform::CaptureDevice::deviceWithUniqueID(u"cam.a"_s)));
    QVERIFY(layer.connection());
    QCOMPARE(layer.connection(), layer.connection());
}

void CaptureVideoPreviewLayerTest::isNeverLargerThanTheSource()
{
    const auto layer = shown(QSize(4000, 4000));
    QVERIFY(layer);
    QCOMPARE(layer->picture().size(), cameraSize);
}

void CaptureVideoPreviewLayerTest::keepsItsPictureWhenTheSessionStops()
{
    const auto layer = shown(QSize(160, 120));
    QVERIFY(layer);
    m_session->stopRunning();
    QTRY_COMPARE(m_camera->links(), 0);
    QCOMPARE(layer->picture().size(), QSize(160, 120));
    QVERIFY(qAbs(leftRed(*layer) - dark.red()) < 12);
}

void CaptureVideoPreviewLayerTest::followsFiltersMirroringAndSizeWhileItIsStopped()
{
    const auto layer = shown(QSize(160, 120));
    QVERIFY(layer);
    m_session->stopRunning();
    QTRY_COMPARE(m_camera->links(), 0);

    const auto exposure = std::make_shared<ImageFilter>(ImageFilter::Kind::ExposureAdjust);
    exposure->setName(u"exposure"_s);
    const auto expected = [&exposure](int component) {
        return qRound(qMin(exposure->applied(component / 255.0), 1.0) * 255);
    };
    const int plain = leftRed(*layer);
    exposure->setValue(1);
    layer->setFilters({ exposure });
    QCOMPARE(layer->filterNamed(u"exposure"_s), exposure);
    QVERIFY(!layer->filterNamed(u"contrast"_s));
    QVERIFY(expected(plain) > plain + 10);
    QTRY_COMPARE(leftRed(*layer), expected(plain));
    exposure->setValue(-1);
    layer->setNeedsDisplay();
    QTRY_COMPARE(leftRed(*layer), expected(plain));
    layer->connection()->setVideoMirrored(true);
    layer->setNeedsDisplay();
    QTRY_COMPARE(leftRed(*layer), expected(255));
    layer->setFrameSize(QSize(240, 240));
    QTRY_COMPARE(layer->picture().size(), QSize(240, 180));
}

void CaptureVideoPreviewLayerTest::callsItsObserverOnceForManyPictures()
{
    const auto layer = shown(QSize(32, 24));
    QVERIFY(layer);
    QCoreApplication::processEvents();
    int calls = 0;
    layer->setPictureObserver([&calls] { ++calls; });
    // The main thread is busy while more frames arrive than can be under way below.
    const QDeadlineTimer deadline(support::patience);
    for (int count = 0; count < 8; ++count) {
        const qint64 before = layer->picture().cacheKey();
        while (layer->picture().cacheKey() == before) {
            QVERIFY(!deadline.hasExpired());
            std::this_thread::yield();
        }
    }
    m_session->stopRunning();
    QCoreApplication::sendPostedEvents();
    // One call for the pictures above, and one for each picture that was still being rendered.
    QVERIFY2(calls >= 1 && calls <= 3, qPrintable(QString::number(calls)));
}

VELLUMCAP_TEST(CaptureVideoPreviewLayerTest)
#include "tst_capturevideopreviewlayer.moc"
