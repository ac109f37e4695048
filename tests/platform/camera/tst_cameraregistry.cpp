#include "platform/camera/CameraRegistry.h"
#include "tests/support/CameraRig.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>

#include <atomic>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using platform::CameraFormat;
using platform::CameraRegistry;
using support::CameraRig;

class CameraRegistryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void listsNothingWithoutCameras();
    void listsTwoOfOneDescription();
    void givesFormats();
    void givesDevicePathAndControls();
    void followsTheDefault();
    void followsPlugging();
    void followsFormats();
    void reportsUseByOthers();
    void setsControls();
    void worksWithoutADaemon();
    void survivesTheDaemon();
    void findsADaemonThatStartsLater();
    void endsObservations();
    void opensThePortal();
    void isRefusedByThePortal();
    void worksWithoutAPortal();
};

namespace {

QStringList names(const CameraRegistry& registry)
{
    QStringList result;
    for (const auto& camera : registry.cameras()) {
        result.append(camera.name);
    }
    return result;
}

/// Sets an environment variable during its lifetime.
class Variable {
public:
    Variable(const char* name, const char* value)
        : m_name(name)
    {
        qputenv(name, value);
    }
    ~Variable() { qunsetenv(m_name); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
};

} // namespace

void CameraRegistryTest::listsNothingWithoutCameras()
{
    const CameraRig rig;
    QElapsedTimer timer;
    timer.start();
    const CameraRegistry registry;
    QCOMPARE(names(registry), QStringList());
    qInfo("First listing after %lld ms", timer.elapsed());
    QCOMPARE(registry.defaultCamera(), QString());
    QCOMPARE(registry.source(), CameraRegistry::Source::PipeWire);
    QVERIFY(!registry.camera(u"cam.a"_s).has_value());
    QCOMPARE(registry.openRemote(), -1);
}

void CameraRegistryTest::listsTwoOfOneDescription()
{
    CameraRig rig;
    const auto first = rig.addCamera({ .name = u"cam.b"_s, .description = u"Camera"_s });
    const auto second = rig.addCamera({ .description = u"Camera"_s });
    const CameraRegistry registry;
    QTRY_COMPARE(registry.cameras().size(), 2);
    const auto cameras = registry.cameras();
    QCOMPARE(cameras.at(0).name, u"cam.b"_s);
    QCOMPARE(cameras.at(1).name, u"cam.a"_s);
    QCOMPARE(cameras.at(0).description, u"Camera"_s);
    QCOMPARE(cameras.at(1).description, u"Camera"_s);
    QVERIFY(cameras.at(0).id != cameras.at(1).id);
}

void CameraRegistryTest::givesFormats()
{
    CameraRig rig;
    const auto camera
        = rig.addCamera({ .furtherModes = { u"JPEG:1920x1080@30"_s, u"NV12:640x480@15"_s } });
    const CameraRegistry registry;
    QTRY_COMPARE(registry.cameras().size(), 1);
    const auto formats = registry.cameras().first().formats;
    QCOMPARE(formats.size(), 3);
    QCOMPARE(formats.at(0).encoding, CameraFormat::Encoding::YUY2);
    QCOMPARE(formats.at(0).size, QSize(1280, 720));
    QCOMPARE(formats.at(0).rateNumerator, 30);
    QCOMPARE(formats.at(0).rateDenominator, 1);
    QCOMPARE(formats.at(0).lowestRate, 30.0);
    QCOMPARE(formats.at(1).encoding, CameraFormat::Encoding::JPEG);
    QCOMPARE(formats.at(1).size, QSize(1920, 1080));
    QCOMPARE(formats.at(2).encoding, CameraFormat::Encoding::NV12);
    QCOMPARE(formats.at(2).rateNumerator, 15);
}

void CameraRegistryTest::givesDevicePathAndControls()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .properties = { { u"api.v4l2.path"_s, u"/dev/none"_s } },
        .controls = { u"0x9a090c"_s, u"0x9a0901=1,3"_s } });
    const CameraRegistry registry;
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    const auto node = registry.camera(u"cam.a"_s);
    QCOMPARE(node->devicePath, u"/dev/none"_s);
    QCOMPARE(node->controls.size(), 2);
    QCOMPARE(node->controls.at(0).id, 0x9a090cu);
    QCOMPARE(node->controls.at(0).choices, QList<int>());
    QCOMPARE(node->controls.at(1).id, 0x9a0901u);
    QCOMPARE(node->controls.at(1).choices, (QList<int>{ 1, 3 }));
}

void CameraRegistryTest::followsTheDefault()
{
    CameraRig rig;
    auto first = rig.addCamera({});
    auto second = rig.addCamera({ .name = u"cam.b"_s });
    const CameraRegistry registry;
    rig.setDefaultCamera(u"cam.b"_s);
    QTRY_COMPARE(registry.defaultCamera(), u"cam.b"_s);
    rig.setDefaultCamera(u"cam.a"_s);
    QTRY_COMPARE(registry.defaultCamera(), u"cam.a"_s);
    first.reset();
    QTRY_COMPARE(registry.defaultCamera(), u"cam.b"_s);
    second.reset();
    QTRY_COMPARE(registry.defaultCamera(), QString());
}

void CameraRegistryTest::followsPlugging()
{
    CameraRig rig;
    CameraRegistry registry;
    QCOMPARE(names(registry), QStringList());
    std::atomic<int> changes = 0;
    const auto observation = registry.observe([&changes] { ++changes; });
    auto camera = rig.addCamera({});
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    QTRY_VERIFY(changes > 0);
    changes = 0;
    camera->unplug();
    QTRY_COMPARE(names(registry), QStringList());
    QTRY_VERIFY(changes > 0);
    camera = rig.addCamera({});
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
}

void CameraRegistryTest::followsFormats()
{
    CameraRig rig;
    const auto camera = rig.addCamera({});
    const CameraRegistry registry;
    QTRY_COMPARE(registry.cameras().size(), 1);
    camera->setModes({ u"BGRx:320x240@15"_s, u"JPEG:640x480@30"_s });
    const auto sizes = [&registry] {
        QList<QSize> result;
        for (const auto& node : registry.cameras()) {
            for (const CameraFormat& format : node.formats) {
                result.append(format.size);
            }
        }
        return result;
    };
    QTRY_COMPARE(sizes(), (QList<QSize>{ { 320, 240 }, { 640, 480 } }));
}

void CameraRegistryTest::reportsUseByOthers()
{
    CameraRig rig;
    const auto camera = rig.addCamera({});
    const CameraRegistry registry;
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    const auto node = [&registry] { return registry.camera(u"cam.a"_s).value(); };
    QVERIFY(!node().isInUse);
    QVERIFY(!node().isRunning);
    support::CameraReader other(u"cam.a"_s);
    QTRY_VERIFY(node().isInUse);
    QVERIFY(node().isRunning);
    other.stop();
    QTRY_VERIFY(!node().isInUse);
}

void CameraRegistryTest::setsControls()
{
    CameraRig rig;
    const auto camera = rig.addCamera({ .controls = { u"0x9a090c"_s, u"0x9a0901=1,3"_s } });
    CameraRegistry registry;
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    QVERIFY(registry.setControl(u"cam.a"_s, 0x9a090c, 1));
    QVERIFY(registry.setControl(u"cam.a"_s, 0x9a0901, 3));
    QTRY_COMPARE(camera->controlsSet(), (QStringList{ u"0x9a090c 1"_s, u"0x9a0901 3"_s }));
    QVERIFY(!registry.setControl(u"cam.a"_s, 0x9a0902, 1));
    QVERIFY(!registry.setControl(u"cam.b"_s, 0x9a090c, 1));
}

void CameraRegistryTest::worksWithoutADaemon()
{
    const CameraRig rig(CameraRig::Start::NotRunning);
    // Waiting for a daemon would delay every attempt by the timeout of the first listing. A busy
    // machine delays only some.
    constexpr qint64 firstListingTimeout = 300;
    const auto isQuick = [] {
        QElapsedTimer timer;
        timer.start();
        CameraRegistry().cameras();
        return timer.elapsed() < firstListingTimeout;
    };
    QVERIFY2(QTest::qWaitFor(isQuick, support::patience), "It waited for a missing daemon");
    CameraRegistry registry;
    QCOMPARE(registry.source(), CameraRegistry::Source::V4L2);
    QVERIFY(!registry.setControl(u"cam.a"_s, 0x9a090c, 1));
}

void CameraRegistryTest::survivesTheDaemon()
{
    CameraRig rig;
    auto camera = rig.addCamera({});
    const CameraRegistry registry;
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    for (int round = 0; round < 3; ++round) {
        rig.stopPipeWire();
        QTRY_COMPARE(registry.source(), CameraRegistry::Source::V4L2);
        QVERIFY(!names(registry).contains(u"cam.a"_s));
        rig.startPipeWire();
        camera = rig.addCamera({});
        QTRY_COMPARE(registry.source(), CameraRegistry::Source::PipeWire);
        QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    }
}

void CameraRegistryTest::findsADaemonThatStartsLater()
{
    CameraRig rig(CameraRig::Start::NotRunning);
    const CameraRegistry registry;
    QCOMPARE(registry.source(), CameraRegistry::Source::V4L2);
    rig.startPipeWire();
    const auto camera = rig.addCamera({});
    QTRY_COMPARE(registry.source(), CameraRegistry::Source::PipeWire);
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
}

void CameraRegistryTest::endsObservations()
{
    CameraRig rig;
    CameraRegistry registry;
    std::atomic<int> kept = 0;
    std::atomic<int> ended = 0;
    const auto observation = registry.observe([&kept] { ++kept; });
    auto other = registry.observe([&ended] { ++ended; });
    auto camera = rig.addCamera({});
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    QTRY_VERIFY(ended > 0);
    other.end();
    const int before = ended;
    kept = 0;
    camera.reset();
    QTRY_VERIFY(kept > 0);
    QCOMPARE(ended, before);
}

void CameraRegistryTest::opensThePortal()
{
    CameraRig rig;
    const auto camera = rig.addCamera({});
    rig.startPortal(CameraRig::Answer::Granted);
    const Variable sandbox("VELLUMCAP_CAMERA_PORTAL", "1");
    const CameraRegistry registry;
    QCOMPARE(registry.source(), CameraRegistry::Source::Portal);
    QTRY_COMPARE(names(registry), QStringList{ u"cam.a"_s });
    QCOMPARE(registry.defaultCamera(), u"cam.a"_s);
    const int remote = registry.openRemote();
    QVERIFY(remote >= 0);
    QVERIFY((fcntl(remote, F_GETFD) & FD_CLOEXEC) != 0);
    ::close(remote);
}

void CameraRegistryTest::isRefusedByThePortal()
{
    CameraRig rig;
    const auto camera = rig.addCamera({});
    rig.startPortal(CameraRig::Answer::Refused);
    const Variable sandbox("VELLUMCAP_CAMERA_PORTAL", "1");
    CameraRegistry registry;
    std::atomic<int> changes = 0;
    const auto observation = registry.observe([&changes] { ++changes; });
    QTRY_VERIFY(changes > 0);
    QCOMPARE(names(registry), QStringList());
    QCOMPARE(registry.defaultCamera(), QString());
    QCOMPARE(registry.openRemote(), -1);
}

void CameraRegistryTest::worksWithoutAPortal()
{
    const CameraRig rig;
    const Variable sandbox("VELLUMCAP_CAMERA_PORTAL", "1");
    const CameraRegistry registry;
    QCOMPARE(names(registry), QStringList());
    QCOMPARE(registry.openRemote(), -1);
}

VELLUMCAP_TEST(CameraRegistryTest)
#include "tst_cameraregistry.moc"
