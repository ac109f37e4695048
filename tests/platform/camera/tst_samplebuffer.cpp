#include "platform/camera/SampleBuffer.h"
#include "tests/support/CameraFrames.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QPainter>

#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

using platform::SampleBuffer;
using support::jpegCaps;
using support::rawCaps;

/// Valid frames of cameras, and invalid ones.
class SampleBufferTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void readsEveryEncoding_data();
    void readsEveryEncoding();
    void readsRowsWithPadding();
    void assumesTheColorStandardOfCameras();
    void lendsPixelsThatNeedNoConversion();
    void convertsOnce();
    void scalesToFit_data();
    void scalesToFit();
    void refusesTooFewBytes_data();
    void refusesTooFewBytes();
    void refusesALayoutThatLies_data();
    void refusesALayoutThatLies();
    void refusesImpossibleSizes_data();
    void refusesImpossibleSizes();
    void refusesUnknownFormats();
    void readsJpegs_data();
    void readsJpegs();
    void refusesBrokenJpegs_data();
    void refusesBrokenJpegs();
};

namespace {

SampleBuffer frameOf(const QByteArray& bytes, const QByteArray& caps,
    const std::function<void(GstBuffer*)>& change = {})
{
    return { support::sampleOf(bytes, caps, change).get(), 1 };
}

qsizetype byteCount(const QByteArray& encoding, QSize size)
{
    const GstVideoInfo info = support::rawLayout(encoding, size);
    return static_cast<qsizetype>(GST_VIDEO_INFO_SIZE(&info));
}

/// The left half of one colour, the right half of another, so that a shifted row shows.
QImage halves(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(QColor(200, 60, 30));
    QPainter painter(&picture);
    painter.fillRect(QRect(size.width() / 2, 0, size.width(), size.height()), QColor(30, 80, 190));
    return picture;
}

/// `picture` in another encoding, converted by GStreamer.
QByteArray encodedAs(const QByteArray& encoding, const QImage& picture)
{
    GstVideoInfo from = support::rawLayout("BGRx", picture.size());
    GstVideoInfo to = support::rawLayout(encoding, picture.size());
    if (GST_VIDEO_INFO_IS_YUV(&to)) {
        to.colorimetry.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
    }
    QByteArray bytes(byteCount(encoding, picture.size()), '\0');
    GstVideoFrame source = {};
    source.info = from;
    QImage writable = picture;
    source.data[0] = writable.bits();
    GstVideoFrame target = {};
    target.info = to;
    for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&to); ++plane) {
        target.data[plane] = bytes.data() + GST_VIDEO_INFO_PLANE_OFFSET(&to, plane);
    }
    GstVideoConverter* converter = gst_video_converter_new(&from, &to, nullptr);
    gst_video_converter_frame(converter, &source, &target);
    gst_video_converter_free(converter);
    return bytes;
}

int distance(const QColor& left, const QColor& right)
{
    return std::max({ qAbs(left.red() - right.red()), qAbs(left.green() - right.green()),
        qAbs(left.blue() - right.blue()) });
}

/// The largest difference at the corners.
int cornerDistance(const QImage& seen, const QImage& expected)
{
    int most = 0;
    for (const auto& [x, y] :
        { std::pair(0, 0), std::pair(1, 0), std::pair(0, 1), std::pair(1, 1) }) {
        const auto corner = [x = x, y = y](const QImage& image) {
            return image.pixelColor(x * (image.width() - 1), y * (image.height() - 1));
        };
        most = std::max(most, distance(corner(seen), corner(expected)));
    }
    return most;
}

constexpr int tolerance = 6; // of limited-range, subsampled colour

const auto rawEncodings
    = { "BGRx", "BGRA", "RGBx", "RGBA", "BGR", "RGB", "YUY2", "UYVY", "NV12", "I420", "GRAY8" };

} // namespace

void SampleBufferTest::initTestCase()
{
    gst_init(nullptr, nullptr);
}

void SampleBufferTest::readsEveryEncoding_data()
{
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<QSize>("size");
    for (const char* encoding : rawEncodings) {
        for (const QSize size : { QSize(640, 480), QSize(66, 50), QSize(35, 21), QSize(8, 1) }) {
            QTest::addRow("%s %d x %d", encoding, size.width(), size.height())
                << QByteArray(encoding) << size;
        }
    }
}

void SampleBufferTest::readsEveryEncoding()
{
    QFETCH(QByteArray, encoding);
    QFETCH(QSize, size);
    QImage picture = halves(size);
    const SampleBuffer frame = frameOf(encodedAs(encoding, picture), rawCaps(encoding, size));
    if (encoding == "GRAY8") {
        picture = picture.convertToFormat(QImage::Format_Grayscale8);
    }
    QCOMPARE(frame.pixels().format(), QImage::Format_RGB32);
    QCOMPARE(frame.pixels().size(), size);
    const int most = encoding == "GRAY8" ? 20 : tolerance; // other weights of red, green and blue
    QVERIFY2(cornerDistance(frame.pixels(), picture) <= most,
        qPrintable(QString::number(cornerDistance(frame.pixels(), picture))));
}

void SampleBufferTest::readsRowsWithPadding()
{
    constexpr int padding = 12;
    constexpr gsize lead = 16;
    const QSize size(66, 50);
    const QImage picture = halves(size);
    const int rowBytes = 2 * size.width();
    const QByteArray packed = encodedAs("YUY2", picture);
    QByteArray padded(lead, '\x55');
    for (int row = 0; row < size.height(); ++row) {
        padded += packed.mid(row * rowBytes, rowBytes) + QByteArray(padding, '\x55');
    }
    const SampleBuffer frame = frameOf(padded, rawCaps("YUY2", size), [&size](GstBuffer* buffer) {
        gsize offsets[GST_VIDEO_MAX_PLANES] = { lead };
        gint strides[GST_VIDEO_MAX_PLANES] = { 2 * 66 + padding };
        gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_YUY2,
            static_cast<guint>(size.width()), static_cast<guint>(size.height()), 1, offsets,
            strides);
    });
    QVERIFY(cornerDistance(frame.pixels(), picture) <= tolerance);
}

void SampleBufferTest::assumesTheColorStandardOfCameras()
{
    // Pure green at the size of 720p, for which GStreamer would assume BT.709.
    const QSize size(1280, 720);
    const QImage picture = support::plainPicture(size, QColor(0, 200, 0));
    const QByteArray bytes = encodedAs("NV12", picture);
    QVERIFY(cornerDistance(frameOf(bytes, rawCaps("NV12", size)).pixels(), picture) <= tolerance);
    const SampleBuffer other = frameOf(bytes, rawCaps("NV12", size) + ",colorimetry=bt709");
    QVERIFY(cornerDistance(other.pixels(), picture) > tolerance);
}

void SampleBufferTest::lendsPixelsThatNeedNoConversion()
{
    const QSize size(64, 48);
    const QImage picture = halves(size);
    QImage pixels;
    const uchar* memory = nullptr;
    {
        const SampleBuffer frame
            = frameOf(encodedAs("BGRx", picture), rawCaps("BGRx", size), [&](GstBuffer* buffer) {
                  GstMapInfo map;
                  gst_buffer_map(buffer, &map, GST_MAP_READ);
                  memory = map.data;
                  gst_buffer_unmap(buffer, &map);
              });
        pixels = frame.pixels();
    }
    QCOMPARE(pixels.constBits(), memory); // which outlives the frame
    QCOMPARE(pixels, picture);
}

void SampleBufferTest::convertsOnce()
{
    const QSize size(64, 48);
    const SampleBuffer frame = frameOf(encodedAs("NV12", halves(size)), rawCaps("NV12", size));
    std::vector<const uchar*> memories(8);
    std::vector<std::thread> threads;
    threads.reserve(memories.size());
    for (const uchar*& memory : memories) {
        threads.emplace_back([frame, &memory] { memory = frame.pixels().constBits(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QVERIFY(memories.front());
    QVERIFY(std::equal(memories.begin() + 1, memories.end(), memories.begin()));
}

void SampleBufferTest::scalesToFit_data()
{
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<QSize>("area");
    QTest::addColumn<QSize>("expected");
    for (const char* encoding : { "BGRx", "YUY2", "NV12", "JPEG" }) {
        const auto row = [encoding](QSize area, QSize expected) {
            QTest::addRow("%s in %d x %d", encoding, area.width(), area.height())
                << QByteArray(encoding) << area << expected;
        };
        row(QSize(320, 320), QSize(320, 180));
        row(QSize(333, 100), QSize(177, 100));
        row(QSize(600, 400), QSize(600, 337));
        row(QSize(640, 360), QSize(640, 360));
        row(QSize(2000, 2000), QSize(640, 360));
        row(QSize(7, 1), QSize(1, 1));
        row(QSize(1, 1), QSize(1, 1));
        row(QSize(), QSize(640, 360));
    }
}

void SampleBufferTest::scalesToFit()
{
    QFETCH(QByteArray, encoding);
    QFETCH(QSize, area);
    QFETCH(QSize, expected);
    const QSize size(640, 360);
    const QImage picture = halves(size);
    const SampleBuffer frame = encoding == "JPEG"
        ? frameOf(support::encoded(picture, "JPG"), jpegCaps(size))
        : frameOf(encodedAs(encoding, picture), rawCaps(encoding, size));
    const QImage scaled = frame.pixelsWithin(area);
    QCOMPARE(scaled.size(), expected);
    QCOMPARE(scaled.format(), QImage::Format_RGB32);
    if (expected.width() > 100) {
        QVERIFY(cornerDistance(scaled, picture) <= tolerance);
    }
}

void SampleBufferTest::refusesTooFewBytes_data()
{
    QTest::addColumn<QByteArray>("encoding");
    for (const char* encoding : rawEncodings) {
        QTest::newRow(encoding) << QByteArray(encoding);
    }
}

void SampleBufferTest::refusesTooFewBytes()
{
    QFETCH(QByteArray, encoding);
    const QSize size(64, 48);
    const QByteArray bytes(byteCount(encoding, size), '\0');
    QVERIFY(!frameOf(bytes, rawCaps(encoding, size)).pixels().isNull());
    for (const QByteArray& cut : { bytes.chopped(1), bytes.left(1), QByteArray() }) {
        const SampleBuffer frame = frameOf(cut, rawCaps(encoding, size));
        QVERIFY(frame.pixels().isNull());
        QVERIFY(frame.pixelsWithin(QSize(32, 32)).isNull());
    }
}

void SampleBufferTest::refusesALayoutThatLies_data()
{
    QTest::addColumn<int>("planes");
    QTest::addColumn<qint64>("offset"); // of the second plane
    QTest::addColumn<int>("stride"); // of the second plane
    QTest::newRow("a plane beyond the end") << 2 << 1000000LL << 64;
    QTest::newRow("a plane that ends beyond the end") << 2 << 64 * 48LL + 1 << 64;
    QTest::newRow("an offset that wraps") << 2 << -64LL << 64;
    QTest::newRow("rows too long") << 2 << 64 * 48LL << 4096;
    QTest::newRow("rows backwards") << 2 << 64 * 48LL << -64;
    QTest::newRow("rows that overlap") << 2 << 64 * 48LL << 8;
    QTest::newRow("too few planes") << 1 << 64 * 48LL << 64;
}

void SampleBufferTest::refusesALayoutThatLies()
{
    QFETCH(int, planes);
    QFETCH(qint64, offset);
    QFETCH(int, stride);
    const QSize size(64, 48);
    const QByteArray bytes(byteCount("NV12", size), '\0');
    const SampleBuffer frame = frameOf(bytes, rawCaps("NV12", size), [&](GstBuffer* buffer) {
        GstVideoMeta* meta = gst_buffer_add_video_meta(
            buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_NV12, 64, 48);
        meta->n_planes = static_cast<guint>(planes);
        meta->offset[1] = static_cast<gsize>(offset);
        meta->stride[1] = stride;
    });
    QVERIFY(frame.pixels().isNull());
    QVERIFY(frame.pixelsWithin(QSize(32, 32)).isNull());
}

void SampleBufferTest::refusesImpossibleSizes_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("nothing") << QSize(0, 0);
    QTest::newRow("no width") << QSize(0, 480);
    QTest::newRow("negative") << QSize(-640, 480);
    QTest::newRow("too wide") << QSize(8193, 1);
    QTest::newRow("too high") << QSize(1, 8193);
    QTest::newRow("huge") << QSize(2147483647, 2147483647);
}

void SampleBufferTest::refusesImpossibleSizes()
{
    QFETCH(QSize, size);
    const SampleBuffer frame = frameOf(QByteArray(100000, '\0'), rawCaps("BGRx", size));
    QVERIFY(frame.pixels().isNull());
    QVERIFY(frame.pixelsWithin(QSize(32, 32)).isNull());
}

void SampleBufferTest::refusesUnknownFormats()
{
    const QByteArray bytes(100000, '\0');
    QVERIFY(frameOf(bytes, QByteArray()).pixels().isNull());
    QVERIFY(frameOf(bytes, "video/x-raw").pixels().isNull());
    QVERIFY(frameOf(bytes, "video/x-h264,width=64,height=48").pixels().isNull());
    QVERIFY(frameOf(bytes, "audio/x-raw").pixels().isNull());
    const support::Sample empty(gst_sample_new(nullptr, nullptr, nullptr, nullptr));
    const SampleBuffer frame(empty.get(), 7);
    QVERIFY(frame.pixels().isNull());
    QCOMPARE(frame.sequence(), 7U);
}

void SampleBufferTest::readsJpegs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray jpeg = support::encoded(halves(QSize(64, 48)), "JPG");
    QTest::newRow("unchanged") << jpeg;
    QTest::newRow("padded") << jpeg + QByteArray(5000, '\0');
    // Motion JPEG may omit the standard Huffman tables.
    QByteArray bare = jpeg;
    for (qsizetype at = bare.indexOf("\xff\xc4"); at >= 0; at = bare.indexOf("\xff\xc4")) {
        const int length
            = static_cast<uchar>(bare[at + 2]) * 256 + static_cast<uchar>(bare[at + 3]);
        bare.remove(at, length + 2);
    }
    QVERIFY(bare.size() < jpeg.size());
    QTest::newRow("without tables") << bare;
}

void SampleBufferTest::readsJpegs()
{
    QFETCH(QByteArray, bytes);
    const SampleBuffer frame = frameOf(bytes, jpegCaps(QSize(64, 48)));
    QCOMPARE(frame.pixels().size(), QSize(64, 48));
    QVERIFY(cornerDistance(frame.pixels(), halves(QSize(64, 48))) <= tolerance);
}

void SampleBufferTest::refusesBrokenJpegs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray jpeg = support::encoded(halves(QSize(64, 48)), "JPG");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a start") << jpeg.left(2);
    QTest::newRow("a head") << jpeg.left(200);
    QTest::newRow("cut off") << jpeg.chopped(10);
    QTest::newRow("without its end") << jpeg.chopped(2);
    QTest::newRow("another kind") << support::encoded(halves(QSize(64, 48)), "PNG");
    QTest::newRow("a head with an end") << jpeg.left(100) + "\xff\xd9";
    QByteArray large = jpeg;
    const qsizetype head = large.indexOf("\xff\xc0");
    QVERIFY(head > 0);
    large.replace(head + 5, 4, QByteArray("\xff\xff\xff\xff"));
    QTest::newRow("too large") << large;
}

void SampleBufferTest::refusesBrokenJpegs()
{
    QFETCH(QByteArray, bytes);
    const SampleBuffer frame = frameOf(bytes, jpegCaps(QSize(64, 48)));
    QVERIFY(frame.pixels().isNull());
    QVERIFY(frame.pixelsWithin(QSize(32, 32)).isNull());
}

VELLUMCAP_TEST(SampleBufferTest)
#include "tst_samplebuffer.moc"
