#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "tests/support/CameraRig.h"
#include "tests/support/TestMain.h"

using namespace Qt::StringLiterals;

using platform::CaptureDevice;
using support::CameraRig;

/// A session whose camera is opened through the camera portal, as in a sandbox.
class PortalCaptureTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void showsTheCamera();

private:
    CameraRig m_rig;
};

void PortalCaptureTest::showsTheCamera()
{
    const auto camera = m_rig.addCamera({ .size = { 640, 480 } });
    m_rig.startPortal(CameraRig::Answer::Granted);
    qputenv("VELLUMCAP_CAMERA_PORTAL", "1");
    const auto device = [] { return CaptureDevice::deviceWithUniqueID(u"cam.a"_s); };
    QTRY_VERIFY(device().has_value());
    const auto session = std::make_shared<platform::CaptureSession>();
    session->addInput(platform::CaptureDeviceInput::create(device()));
    platform::CaptureVideoPreviewLayer preview(session);
    preview.setFrameSize(QSize(64, 48));
    for (int run = 0; run < 2; ++run) {
        bool isShown = false;
        preview.setPictureObserver([&isShown] { isShown = true; });
        session->startRunning();
        QTRY_VERIFY(isShown);
        QCOMPARE(preview.picture().size(), QSize(64, 48));
        session->stopRunning();
        QTRY_COMPARE(camera->links(), 0);
    }
}

VELLUMCAP_TEST(PortalCaptureTest)
#include "tst_portalcapture.moc"
