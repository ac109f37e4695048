#include "platform/ui/ColorScheme.h"
#include "tests/support/TestMain.h"

/// Against no bus at all, which is what the sandbox gives.
class ColorSchemeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void followsThePaletteWithoutABus_data();
    void followsThePaletteWithoutABus();
};

void ColorSchemeTest::followsThePaletteWithoutABus_data()
{
    QTest::addColumn<QColor>("window");
    QTest::addColumn<bool>("dark");
    QTest::newRow("light") << QColor(Qt::white) << false;
    QTest::newRow("dark") << QColor(Qt::black) << true;
}

void ColorSchemeTest::followsThePaletteWithoutABus()
{
    QFETCH(QColor, window);
    QFETCH(bool, dark);
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    QApplication::setPalette(palette);
    const platform::ColorScheme scheme;
    QCOMPARE(scheme.prefersDark(), dark);
}

VELLUMCAP_TEST(ColorSchemeTest)

#include "tst_colorscheme.moc"
