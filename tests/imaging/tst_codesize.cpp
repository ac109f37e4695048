#include "imaging/CodeBitmap.h"
#include "imaging/CodeSize.h"
#include "tests/support/TestMain.h"

#include <random>

using vellumcap::codeBitmap;
using vellumcap::codeSize;

namespace {

QImage randomModules(QSize extent, quint32 seed)
{
    std::mt19937 random(seed);
    QImage modules(extent, QImage::Format_Grayscale8);
    for (int y = 0; y < extent.height(); ++y) {
        for (int x = 0; x < extent.width(); ++x) {
            modules.scanLine(y)[x] = (random() & 1) != 0 ? 0xff : 0x00;
        }
    }
    return modules;
}

/// The expected bitmap: each pixel has the value of the module at its centre.
QImage scaledNearest(const QImage& modules, QSize bitmap, double scale)
{
    QImage scaled(bitmap, QImage::Format_Grayscale8);
    for (int y = 0; y < bitmap.height(); ++y) {
        for (int x = 0; x < bitmap.width(); ++x) {
            scaled.scanLine(y)[x] = modules.constScanLine(
                static_cast<int>((y + 0.5) / scale))[static_cast<int>((x + 0.5) / scale)];
        }
    }
    return scaled;
}

} // namespace

class CodeSizeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bringsEveryExtentTo1024OrJustBelow();
    void keepsTheProportionOfOblongs();
    void hasNoSizeForNothing();
    void enlargesWithHardEdges_data();
    void enlargesWithHardEdges();
    void drawsNothingForNoModules();
};

void CodeSizeTest::bringsEveryExtentTo1024OrJustBelow()
{
    const QSet<int> truncated{ 49, 98, 103, 107, 161, 187, 196, 197 };
    for (int extent = 1; extent <= 200; ++extent) {
        const auto size = codeSize({ extent, extent });
        const int side = truncated.contains(extent) ? 1023 : 1024;
        QVERIFY2(size.bitmap == QSize(side, side), qPrintable(QString::number(extent)));
        QCOMPARE(size.scale, 1024.0 / extent);
    }
}

void CodeSizeTest::keepsTheProportionOfOblongs()
{
    QCOMPARE(codeSize({ 10, 20 }).bitmap, QSize(512, 1024));
    QCOMPARE(codeSize({ 20, 10 }).bitmap, QSize(1024, 512));
    QCOMPARE(codeSize({ 49, 7 }).bitmap, QSize(1023, 146));
    QCOMPARE(codeSize({ 2048, 4 }).bitmap, QSize(1024, 2));
}

void CodeSizeTest::hasNoSizeForNothing()
{
    QVERIFY(codeSize({}).bitmap.isEmpty());
    QVERIFY(codeSize({ 0, 0 }).bitmap.isEmpty());
    QVERIFY(codeSize({ 23, 0 }).bitmap.isEmpty());
}

void CodeSizeTest::enlargesWithHardEdges_data()
{
    QTest::addColumn<QSize>("extent");
    for (int extent = 1; extent <= 200; ++extent) {
        QTest::addRow("%d", extent) << QSize(extent, extent);
    }
    QTest::newRow("wide") << QSize(31, 5);
    QTest::newRow("high") << QSize(5, 49);
    QTest::newRow("more modules than pixels") << QSize(1500, 40);
}

void CodeSizeTest::enlargesWithHardEdges()
{
    QFETCH(QSize, extent);
    const QImage modules = randomModules(extent, quint32(extent.width()));
    const QImage bitmap = codeBitmap(modules);
    const auto size = codeSize(extent);
    QCOMPARE(bitmap.format(), QImage::Format_Grayscale8);
    QCOMPARE(bitmap.size(), size.bitmap);
    QVERIFY(bitmap == scaledNearest(modules, size.bitmap, size.scale));
}

void CodeSizeTest::drawsNothingForNoModules()
{
    QVERIFY(codeBitmap({}).isNull());
}

VELLUMCAP_TEST(CodeSizeTest)
#include "tst_codesize.moc"
