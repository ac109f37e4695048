#include "camera/PrefsWindow.h"
#include "platform/services/UserDefaults.h"
#include "tests/support/TestMain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QSlider>

using platform::UserDefaults;
using vellumcap::PrefsWindow;

namespace {

const QString contrastKey = QStringLiteral("pref-camera-contrast");
const QString mirrorKey = QStringLiteral("pref-mirror-video");
const QString cameraKey = QStringLiteral("pref-camera-id");

} // namespace

class PrefsWindowTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void showsStoredValues();
    void writesContrastAsItMoves();
    void writesMirroring();
    void selectsNothingWithoutCameras();
};

void PrefsWindowTest::init()
{
    for (const QString& key : { contrastKey, mirrorKey, cameraKey }) {
        UserDefaults::standard().removeObject(key);
    }
}

void PrefsWindowTest::showsStoredValues()
{
    UserDefaults::standard().setDouble(contrastKey, 25.0);
    UserDefaults::standard().setInteger(mirrorKey, 1);
    PrefsWindow prefs(QStringLiteral("PrefsWindow"));
    prefs.showWindow(nullptr);
    QCOMPARE(prefs.contrastSlider->value(), 25);
    QVERIFY(prefs.mirrorVideoCheckbox->isChecked());
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 25.0);
}

void PrefsWindowTest::writesContrastAsItMoves()
{
    PrefsWindow prefs(QStringLiteral("PrefsWindow"));
    prefs.showWindow(nullptr);
    QCOMPARE(prefs.contrastSlider->value(), 0);
    QTest::ignoreMessage(QtInfoMsg, "Contrast value 1.000000");
    QTest::keyClick(prefs.contrastSlider, Qt::Key_Right);
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 1.0);
    QTest::ignoreMessage(QtInfoMsg, "Contrast value 11.000000");
    QTest::keyClick(prefs.contrastSlider, Qt::Key_PageUp);
    QCOMPARE(UserDefaults::standard().doubleForKey(contrastKey), 11.0);
}

void PrefsWindowTest::writesMirroring()
{
    PrefsWindow prefs(QStringLiteral("PrefsWindow"));
    prefs.showWindow(nullptr);
    QVERIFY(!prefs.mirrorVideoCheckbox->isChecked());
    QTest::keyClick(prefs.mirrorVideoCheckbox, Qt::Key_Space);
    QCOMPARE(UserDefaults::standard().integerForKey(mirrorKey), 1);
    QTest::keyClick(prefs.mirrorVideoCheckbox, Qt::Key_Space);
    QCOMPARE(UserDefaults::standard().integerForKey(mirrorKey), 0);
}

void PrefsWindowTest::selectsNothingWithoutCameras()
{
    UserDefaults::standard().setString(cameraKey, QStringLiteral("a camera that is gone"));
    PrefsWindow prefs(QStringLiteral("PrefsWindow"));
    prefs.showWindow(nullptr);
    QCOMPARE(prefs.cameraMenu->count(), 0);
    QCOMPARE(prefs.cameraMenu->currentIndex(), -1);
    prefs.menuSelected(nullptr);
    QCOMPARE(
        UserDefaults::standard().stringForKey(cameraKey), QStringLiteral("a camera that is gone"));
}

VELLUMCAP_TEST_MAIN(PrefsWindowTest)
#include "tst_prefswindow.moc"
