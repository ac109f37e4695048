#include "platform/barcode/GreyPicture.h"
#include "tests/support/TestMain.h"

class GreyPicture : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void weighsColours_data();
    void weighsColours();
    void takesTheMeanOfSquares();
    void dropsWhatFillsNoSquare();
    void invertsACopy();
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

void GreyPicture::takesTheMeanOfSquares()
{
    QImage picture(4, 2, QImage::Format_Grayscale8);
    picture.fill(0);
    picture.scanLine(0)[0] = 200;
    picture.scanLine(1)[1] = 100;
    picture.scanLine(1)[3] = 40;

    const QImage result = platform::shrunk(picture, 2);

    QCOMPARE(result.size(), QSize(2, 1));
    QCOMPARE(int(result.constScanLine(0)[0]), 75);
    QCOMPARE(int(result.constScanLine(0)[1]), 10);
}

void GreyPicture::dropsWhatFillsNoSquare()
{
    QImage picture(8, 5, QImage::Format_Grayscale8);
    picture.fill(9);

    QCOMPARE(platform::shrunk(picture, 3).size(), QSize(2, 1));
}

void GreyPicture::invertsACopy()
{
    QImage picture(1, 1, QImage::Format_Grayscale8);
    picture.fill(10);

    QCOMPARE(int(platform::inverted(picture).constScanLine(0)[0]), 245);
    QCOMPARE(int(picture.constScanLine(0)[0]), 10);
}

VELLUMCAP_TEST_MAIN(GreyPicture)
#include "tst_greypicture.moc"
