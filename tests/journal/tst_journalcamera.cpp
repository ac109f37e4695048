#include "platform/camera/CameraRegistry.h"
#include "tests/support/CameraRig.h"
#include "tests/support/Program.h"
#include "tests/support/TestMain.h"

using namespace Qt::StringLiterals;

using platform::CameraRegistry;
using support::Program;

/// Whether the journal window offers to scan is decided when its controller is made.
class JournalCameraTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void offersScanningWithACamera();
};

void JournalCameraTest::offersScanningWithACamera()
{
    support::CameraRig rig;
    {
        Program program;
        QVERIFY(!program.journal().scanAvailable());
        const auto camera = rig.addCamera({ .name = u"cam.a"_s, .description = u"Camera A"_s });
        QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 1);
        QVERIFY(!program.journal().scanAvailable());
        Program another;
        QVERIFY(another.journal().scanAvailable());
    }
    QTRY_COMPARE(CameraRegistry::shared().cameras().size(), 0);
    Program program;
    QVERIFY(!program.journal().scanAvailable());
}

VELLUMCAP_TEST(JournalCameraTest)
#include "tst_journalcamera.moc"
