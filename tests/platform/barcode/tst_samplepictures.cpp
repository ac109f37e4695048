#include "platform/barcode/DetectBarcodesRequest.h"
#include "tests/support/SamplePictures.h"
#include "tests/support/TestMain.h"

#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

// Has a folder for each kind of picture.
QDir samples()
{
    return QDir(qEnvironmentVariable("VELLUMCAP_SAMPLES"));
}

QList<platform::BarcodeObservation> codesIn(const QFileInfo& picture)
{
    platform::DetectBarcodesRequest request(nullptr);
    platform::ImageRequestHandler(QImage(picture.filePath())).perform(request);
    return request.results();
}

int rightTexts(const QDir& folder)
{
    int right = 0;
    for (const QFileInfo& picture : support::picturesIn(folder)) {
        const auto codes = codesIn(picture);
        right += !codes.isEmpty()
            && codes.first().payloadStringValue == support::expectedText(picture);
    }
    return right;
}

} // namespace

/// Photographs that were read once stay readable. They are not part of the repository: the
/// environment variable VELLUMCAP_SAMPLES names their folder.
class SamplePictures : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void readsAsManyAsBefore_data();
    void readsAsManyAsBefore();
    void findsNothingWithoutACode_data();
    void findsNothingWithoutACode();
};

void SamplePictures::initTestCase()
{
    if (!qEnvironmentVariableIsSet("VELLUMCAP_SAMPLES") || !samples().exists()) {
        QSKIP("VELLUMCAP_SAMPLES names no folder");
    }
    if (!QImageReader::supportedImageFormats().contains("webp")) {
        QSKIP("Qt's WebP plugin is not installed");
    }
}

void SamplePictures::readsAsManyAsBefore_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<int>("atLeast");

    const auto row = [](const char* folder, int atLeast) {
        QTest::newRow(folder) << QString::fromLatin1(folder) << atLeast;
    };
    row("aztec-1", 12);
    row("aztec-2", 7);
    row("codabar-1", 5);
    row("codabar-2", 1);
    row("code128-1", 1);
    row("code128-2", 6);
    row("code128-3", 1);
    row("code39-1", 1);
    row("code39-2", 2);
    row("code39-3", 2);
    row("datamatrix-1", 10);
    row("datamatrix-2", 10);
    row("datamatrix-3", 11);
    row("datamatrix-4", 11);
    row("datamatrix-5", 1);
    row("ean13-1", 10);
    row("ean13-2", 6);
    row("ean13-3", 4);
    row("ean13-4", 7);
    row("ean8-1", 4);
    row("itf-1", 7);
    row("itf-2", 2);
    row("maxicode-1", 7);
    row("pdf417-1", 12);
    row("pdf417-2", 11);
    row("pdf417-3", 8);
    row("qrcode-1", 4);
    row("qrcode-2", 22);
    row("qrcode-3", 9);
    row("qrcode-4", 11);
    row("qrcode-5", 4);
    row("qrcode-6", 8);
    row("rss14-1", 6);
    row("rss14-2", 6);
    row("rssexpanded-1", 23);
    row("rssexpanded-2", 4);
    row("rssexpanded-3", 49);
    row("rssexpandedstacked-1", 26);
    row("rssexpandedstacked-2", 1);
    row("upca-1", 2);
    row("upca-2", 10);
    row("upca-3", 2);
    row("upca-4", 7);
    row("upca-5", 7);
    row("upce-1", 2);
    row("upce-2", 5);
    row("upce-3", 7);
}

void SamplePictures::readsAsManyAsBefore()
{
    QFETCH(QString, folder);
    QFETCH(int, atLeast);
    const QDir pictures(samples().filePath(folder));
    if (!pictures.exists()) {
        QSKIP("no such pictures");
    }

    const int right = rightTexts(pictures);

    QVERIFY2(right >= atLeast, qPrintable(QString::number(right)));
}

void SamplePictures::findsNothingWithoutACode_data()
{
    QTest::addColumn<QFileInfo>("picture");

    const QFileInfoList folders = samples().entryInfoList({ u"falsepositives*"_s }, QDir::Dirs);
    if (folders.isEmpty()) {
        QSKIP("no such pictures");
    }
    for (const QFileInfo& folder : folders) {
        for (const QFileInfo& picture : support::picturesIn(QDir(folder.filePath()))) {
            QTest::newRow(qPrintable(picture.filePath())) << picture;
        }
    }
}

void SamplePictures::findsNothingWithoutACode()
{
    QFETCH(QFileInfo, picture);

    QVERIFY(codesIn(picture).isEmpty());
}

VELLUMCAP_TEST(SamplePictures)
#include "tst_samplepictures.moc"
