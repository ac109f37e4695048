// Threads: std
#include "platform/graphics/BitmapPool.h"
#include "tests/support/TestMain.h"

#include <atomic>
#include <thread>
#include <vector>

using platform::pooledBitmap;

class BitmapPool : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void givesBitmaps();
    void refusesInvalidSizes_data();
    void refusesInvalidSizes();
    void usesMemoryAgain();
    void keepsTheMemoryOfACopy();
    void sharesNoMemoryBetweenThreads();
};

void BitmapPool::givesBitmaps()
{
    QImage bitmap = pooledBitmap({ 31, 7 });

    QCOMPARE(bitmap.size(), QSize(31, 7));
    QCOMPARE(bitmap.format(), QImage::Format_RGB32);
    bitmap.fill(Qt::red);
    QCOMPARE(bitmap.pixel(30, 6), qRgb(255, 0, 0));
}

void BitmapPool::refusesInvalidSizes_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("empty") << QSize(0, 10);
    QTest::newRow("negative") << QSize(-4, 10);
    QTest::newRow("beyond all cameras") << QSize(1 << 20, 10);
}

void BitmapPool::refusesInvalidSizes()
{
    QFETCH(QSize, size);

    QVERIFY(pooledBitmap(size).isNull());
}

void BitmapPool::usesMemoryAgain()
{
    const QSize size(123, 45);
    QImage first = pooledBitmap(size);
    const uchar* memory = first.constBits();
    first = QImage();

    QVERIFY(pooledBitmap(size).constBits() == memory);
}

void BitmapPool::keepsTheMemoryOfACopy()
{
    QImage first = pooledBitmap({ 12, 34 });
    first.fill(Qt::blue);
    const QImage copy = first;
    first = QImage();

    QImage second = pooledBitmap({ 12, 34 });
    second.fill(Qt::green);

    QCOMPARE(copy.pixel(0, 0), qRgb(0, 0, 255));
}

void BitmapPool::sharesNoMemoryBetweenThreads()
{
    std::atomic<int> torn = 0;
    constexpr int threads = 4;
    std::vector<std::thread> workers;
    workers.reserve(threads);
    for (int worker = 0; worker < threads; ++worker) {
        workers.emplace_back([worker, &torn] {
            for (int round = 0; round < 300; ++round) {
                QImage bitmap = pooledBitmap({ 16, 16 });
                const QRgb mark = qRgb(worker, round & 0xFF, round >> 8);
                bitmap.fill(mark);
                std::this_thread::yield();
                torn += bitmap.pixel(0, 0) != mark || bitmap.pixel(15, 15) != mark ? 1 : 0;
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }

    QCOMPARE(torn.load(), 0);
}

VELLUMCAP_TEST(BitmapPool)
#include "tst_bitmappool.moc"
