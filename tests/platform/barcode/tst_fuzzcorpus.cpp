#include "platform/barcode/isolation/DecoderMessages.h"
#include "platform/barcode/isolation/DecoderPool.h"
#include "tests/fuzz/FuzzedPicture.h"
#include "tests/support/TestMain.h"

#include <QDir>

using namespace Qt::StringLiterals;

using platform::decoder::Pool;
using platform::decoder::readGreeting;
using platform::decoder::readReply;
using platform::decoder::readRequest;
using platform::decoder::written;

namespace {

void addFiles(const char* folder)
{
    QTest::addColumn<QByteArray>("bytes");
    const QDir corpus(QStringLiteral(VELLUMCAP_FUZZ_CORPUS));
    const QDir files(corpus.filePath(QString::fromLatin1(folder)));
    for (const QString& name : files.entryList(QDir::Files, QDir::Name)) {
        QFile file(files.filePath(name));
        QVERIFY(file.open(QFile::ReadOnly));
        QTest::addRow("%s", qPrintable(name)) << file.readAll();
    }
}

QString decoder()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(u"vellumcap-decoder"_s);
}

} // namespace

/// Replays the corpus of the fuzzers, the pictures in a decoder.
class FuzzCorpus : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void survivesPictures_data() { addFiles("picture"); }
    void survivesPictures();
    void takesOnlyMessages_data() { addFiles("messages"); }
    void takesOnlyMessages();

private:
    Pool m_pool{ { .executable = decoder(), .decoders = 1 } };
};

void FuzzCorpus::survivesPictures()
{
    QFETCH(QByteArray, bytes);
    const auto picture = fuzz::pictureOf(bytes);
    QVERIFY(!picture.grey.isNull());
    const QByteArray name = QTest::currentDataTag();

    const auto detection = m_pool.detect(picture.grey, picture.frame);

    if (name.startsWith("read-")) {
        QVERIFY(detection);
        QCOMPARE(detection->codes.size(), 1);
        QVERIFY(detection->codes.first().payloadStringValue);
    } else if (name.startsWith("failed-")) {
        QVERIFY(!detection);
    }
    // A failure affects only that picture.
    QImage blank(64, 64, QImage::Format_Grayscale8);
    blank.fill(0xff);
    QVERIFY(m_pool.detect(blank, std::nullopt));
}

void FuzzCorpus::takesOnlyMessages()
{
    QFETCH(QByteArray, bytes);
    const auto reply = readReply(bytes);
    const auto request = readRequest(bytes);
    const auto greeting = readGreeting(bytes);

    const bool isMessage = !QByteArray(QTest::currentDataTag()).startsWith("refused-");
    QCOMPARE(static_cast<int>(reply.has_value()) + static_cast<int>(request.has_value())
            + static_cast<int>(greeting.has_value()),
        isMessage ? 1 : 0);
    QCOMPARE(reply ? written(*reply) : bytes, bytes);
    QCOMPARE(request ? written(*request) : bytes, bytes);
    QCOMPARE(greeting ? written(*greeting) : bytes, bytes);
}

VELLUMCAP_TEST(FuzzCorpus)

#include "tst_fuzzcorpus.moc"
