#include "platform/barcode/GreyPicture.h"
#include "tests/support/TestMain.h"

class GreyPicture : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void weighsColours_data();
    void weighsColours();
};

void GreyPicture::weighsColours_data()
{
    QTest::addColumn<QColor>("colour");
    QTest::addColumn<int>("grey");

    QTest::newRow("black") << QColor(0, 0, 0) << 0;
    QTest::newRow("white") << QColor(255, 255, 255) << 255;
    QTest::newRow("red") << QColor(255, 0, 0) << 76;
    QTest::newRow("green") << QColor(0, 255, 0) << 150;
    QTest::newRow("blue") << QColor(0, 0, 255) << 29;
    QTest::newRow("nothing") << QColor(0, 0, 0, 0) << 255;
    QTest::newRow("half of black") << QColor(0, 0, 0, 128) << 127;
    QTest::newRow("half of white") << QColor(255, 255, 255, 128) << 255;
}

void GreyPicture::weighsColours()
{
    QFETCH(QColor, colour);
    QFETCH(int, grey);
    QImage picture(3, 2, QImage::Format_ARGB32);
    picture.fill(colour);

    const QImage result = platform::greyPicture(picture);

    QCOMPARE(result.format(), QImage::Format_Grayscale8);
    QCOMPARE(result.size(), picture.size());
    QCOMPARE(int(result.constScanLine(1)[2]), grey);
}

VELLUMCAP_TEST(GreyPicture)
#include "tst_greypicture.moc"
