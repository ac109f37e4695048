#include "camera/PrefsWindow.h"
#include "platform/camera/CameraRegistry.h"
#include "platform/services/StandardFolders.h"
#include "platform/services/UserDefaults.h"
#include "tests/support/Controls.h"
#include "tests/support/LogLines.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QSlider>
#include <QToolButton>

using namespace Qt::StringLiterals;

using platform::UserDefaults;
using support::control;
using vellumcap::PrefsWindow;

namespace {

const QString contrastKey = u"pref-camera-contrast"_s;
const QString mirrorKey = u"pref-mirror-video"_s;
const QString cameraKey = u"pref-camera-id"_s;

QComboBox* cameraMenu(PrefsWindow& prefs)
{
    return control<QComboBox>(prefs, "cameraMenu");
}

QSlider* contrastSlider(PrefsWindow& prefs)
{
    return control<QSlider>(prefs, "contrastSlider");
}

QCheckBox* mirrorBox(PrefsWindow& prefs)
{
    return control<QCheckBox>(prefs, "mirrorVideoCheckbox");
}

} // namespace

class PrefsWindowTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void showsStoredValues();
    void keepsAContrastBetweenTheSteps_data();
    void keepsAContrastBetweenTheSteps();
    void resetsContrast_data();
    void resetsContrast();
    void writesContrastAsItMoves();
    void writesMirroring();
    void selectsNothingWithoutCameras();
    void selectsTheDefaultCamera();
    void selectsTheStoredCamera();
    void replacesAnAbsentCamera();
    void writesTheChoiceAtOnce();
    void keepsCamerasOfOneNameApart();
    void listsAgainWhenShown();

private:
    support::CameraOnStage plugIn(const char* name, const char* description);

    std::unique_ptr<support::CameraRig> m_rig;
};

void PrefsWindowTest::initTestCase()
{
    m_rig = std::make_unique<support::CameraRig>();
}

void PrefsWindowTest::init()
{
    for (const QString& key : { contrastKey, mirrorKey, cameraKey }) {
        UserDefaults::standard().removeObject(key);
    }
}

void PrefsWindowTest::cleanup()
{
    QTRY_COMPARE(platform::CameraRegistry::shared().cameras().size(), 0);
}

support::CameraOnStage PrefsWindowTest::plugIn(const char* name, const char* description)
{
    return support::plugIn(*m_rig,
        { .name = QString::fromLatin1(name), .description = QString::fromLatin1(description) });
}

void PrefsWindowTest::showsStoredValues()
{
    UserDefaults::standard().setDouble(contrastKey, 25.0);
    UserDefaults::standard().setInteger(mirrorKey, 1);
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(contrastSlider(prefs)->value(), 25);
    QVERIFY(mirrorBox(prefs)->isChecked());
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 25.0);
}

void PrefsWindowTest::keepsAContrastBetweenTheSteps_data()
{
    QTest::addColumn<double>("stored");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("step");

    QTest::newRow("a half") << 12.5 << "12.5" << 13;
    QTest::newRow("below zero") << -7.25 << "-7.25" << -7;
    QTest::newRow("a whole step") << 25.0 << "25" << 25;
    QTest::newRow("beyond the slider") << 80.0 << "80" << 50;
    QTest::newRow("far beyond the slider") << -1e300 << "-1e+300" << -50;
}

void PrefsWindowTest::keepsAContrastBetweenTheSteps()
{
    QFETCH(const double, stored);
    QFETCH(const QString, shown);
    QFETCH(const int, step);
    UserDefaults::standard().setDouble(contrastKey, stored);
    PrefsWindow prefs;

    prefs.showWindow();

    const auto* label = control<QLabel>(prefs, "contrastValue");
    QCOMPARE(label->text(), shown);
    QCOMPARE(contrastSlider(prefs)->value(), step);
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), stored);
    // The slider's action without a move, as when it is pressed where it stands.
    QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Contrast value %1"_s.arg(stored, 0, 'f', 6)));
    prefs.contrastChanged();
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), stored);

    QTest::ignoreMessage(
        QtInfoMsg, qPrintable(u"Contrast value %1.000000"_s.arg(step > 0 ? step - 1 : step + 1)));
    QTest::keyClick(contrastSlider(prefs), step > 0 ? Qt::Key_Left : Qt::Key_Right);
    QCOMPARE(
        UserDefaults::standard().doubleForKey(contrastKey), step > 0 ? step - 1.0 : step + 1.0);
    QCOMPARE(label->text(), QString::number(contrastSlider(prefs)->value()));
}

void PrefsWindowTest::resetsContrast_data()
{
    QTest::addColumn<double>("stored");
    QTest::newRow("from a step") << 25.0;
    QTest::newRow("near zero") << 0.25;
}

void PrefsWindowTest::resetsContrast()
{
    QFETCH(const double, stored);
    UserDefaults::standard().setDouble(contrastKey, stored);
    PrefsWindow prefs;
    prefs.showWindow();
    auto* reset = control<QToolButton>(prefs, "resetContrast");

    QTest::ignoreMessage(QtInfoMsg, "Contrast value 0.000000");
    QTest::mouseClick(reset, Qt::LeftButton);

    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 0.0);
    QCOMPARE(contrastSlider(prefs)->value(), 0);
    const support::LogLines log;
    QTest::mouseClick(reset, Qt::LeftButton);
    QCOMPARE(support::LogLines::all(), QStringList());
}

void PrefsWindowTest::writesContrastAsItMoves()
{
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(contrastSlider(prefs)->value(), 0);
    QTest::ignoreMessage(QtInfoMsg, "Contrast value 1.000000");
    QTest::keyClick(contrastSlider(prefs), Qt::Key_Right);
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 1.0);
    QTest::ignoreMessage(QtInfoMsg, "Contrast value 11.000000");
    QTest::keyClick(contrastSlider(prefs), Qt::Key_PageUp);
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 11.0);
}

void PrefsWindowTest::writesMirroring()
{
    PrefsWindow prefs;
    prefs.showWindow();
    QVERIFY(!mirrorBox(prefs)->isChecked());
    QTest::keyClick(mirrorBox(prefs), Qt::Key_Space);
    QCOMPARE(UserDefaults::standard().integerForKey(mirrorKey), 1);
    QTest::keyClick(mirrorBox(prefs), Qt::Key_Space);
    QCOMPARE(UserDefaults::standard().stringForKey(mirrorKey), u"0"_s);
}

void PrefsWindowTest::selectsNothingWithoutCameras()
{
    UserDefaults::standard().setString(cameraKey, u"a camera that is gone"_s);
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(cameraMenu(prefs)->count(), 0);
    QCOMPARE(cameraMenu(prefs)->currentIndex(), -1);
    prefs.menuSelected();
    QCOMPARE(UserDefaults::standard().stringForKey(cameraKey), u"a camera that is gone"_s);
}

void PrefsWindowTest::selectsTheDefaultCamera()
{
    const auto first = plugIn("cam.a", "Camera A");
    const auto second = plugIn("cam.b", "Camera B");
    m_rig->setDefaultCamera(u"cam.b"_s);
    QTRY_COMPARE(platform::CameraRegistry::shared().defaultCamera(), u"cam.b"_s);
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(prefs.devices(), (QStringList{ u"cam.a"_s, u"cam.b"_s }));
    QCOMPARE(cameraMenu(prefs)->currentText(), u"Camera B"_s);
    QVERIFY(!UserDefaults::standard().stringForKey(cameraKey).has_value());
}

void PrefsWindowTest::selectsTheStoredCamera()
{
    const auto first = plugIn("cam.a", "Camera A");
    const auto second = plugIn("cam.b", "Camera B");
    for (const char* name : { "cam.a", "cam.b" }) {
        UserDefaults::standard().setString(cameraKey, QString::fromLatin1(name));
        PrefsWindow prefs;
        prefs.showWindow();
        QCOMPARE(prefs.devices().at(cameraMenu(prefs)->currentIndex()), QString::fromLatin1(name));
    }
}

void PrefsWindowTest::replacesAnAbsentCamera()
{
    const auto first = plugIn("cam.a", "Camera A");
    const QString absent = u"a camera that is gone"_s;
    UserDefaults::standard().setString(cameraKey, absent);
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(cameraMenu(prefs)->currentText(), u"Camera A"_s);
    QCOMPARE(UserDefaults::standard().stringForKey(cameraKey), absent);
    QTest::keyClick(cameraMenu(prefs), Qt::Key_Down); // there is no other
    QCOMPARE(UserDefaults::standard().stringForKey(cameraKey), absent);
    prefs.menuSelected();
    QCOMPARE(UserDefaults::standard().stringForKey(cameraKey), u"cam.a"_s);
}

void PrefsWindowTest::writesTheChoiceAtOnce()
{
    const auto camera = plugIn("cam.a", "Camera A");
    PrefsWindow prefs;
    prefs.showWindow();
    prefs.menuSelected();
    QFile settings(platform::StandardFolders::configuration() + u"/vellumcap.ini"_s);
    QVERIFY(settings.open(QFile::ReadOnly));
    QVERIFY(settings.readAll().contains("\npref-camera-id=cam.a\n"));
}

void PrefsWindowTest::keepsCamerasOfOneNameApart()
{
    const auto first = plugIn("cam.a", "Camera");
    const auto second = plugIn("cam.b", "Camera");
    UserDefaults::standard().setString(cameraKey, u"cam.a"_s);
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(cameraMenu(prefs)->count(), 2);
    QCOMPARE(cameraMenu(prefs)->itemText(0), u"Camera"_s);
    QCOMPARE(cameraMenu(prefs)->itemText(1), u"Camera"_s);
    QCOMPARE(prefs.devices(), (QStringList{ u"cam.a"_s, u"cam.b"_s }));
    QCOMPARE(cameraMenu(prefs)->currentIndex(), 0);
    QTest::keyClick(cameraMenu(prefs), Qt::Key_Down);
    QCOMPARE(UserDefaults::standard().stringForKey(cameraKey), u"cam.b"_s);
}

void PrefsWindowTest::listsAgainWhenShown()
{
    PrefsWindow prefs;
    prefs.showWindow();
    QCOMPARE(cameraMenu(prefs)->count(), 0);
    QVERIFY(!cameraMenu(prefs)->isEnabled());
    auto camera = plugIn("cam.a", "Camera A");
    QCOMPARE(cameraMenu(prefs)->count(), 0);
    prefs.showWindow();
    QCOMPARE(prefs.devices(), QStringList{ u"cam.a"_s });
    QVERIFY(cameraMenu(prefs)->isEnabled());
    camera.reset();
    QTRY_COMPARE(platform::CameraRegistry::shared().cameras().size(), 0);
    QCOMPARE(cameraMenu(prefs)->count(), 1);
    prefs.showWindow();
    QCOMPARE(cameraMenu(prefs)->count(), 0);
}

VELLUMCAP_TEST(PrefsWindowTest)
#include "tst_prefswindow.moc"
