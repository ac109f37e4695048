// Threads: std
#include "camera/CodeOnOffer.h"
#include "camera/Detection.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/TestMain.h"

#include <QPainter>

#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

using platform::Symbology;
using vellumcap::AcceptedCode;
using vellumcap::CodeOnOffer;

namespace {

QImage qrCode(const QString& text)
{
    return support::drawnCode(Symbology::Qr, text);
}

QImage blank()
{
    QImage picture(200, 200, QImage::Format_RGB32);
    picture.fill(Qt::white);
    return picture;
}

QImage sideBySide(const QImage& left, const QImage& right)
{
    QImage both(left.width() + right.width(), std::max(left.height(), right.height()),
        QImage::Format_RGB32);
    both.fill(Qt::white);
    QPainter painter(&both);
    painter.drawImage(0, 0, left);
    painter.drawImage(left.width(), 0, right);
    return both;
}

} // namespace

class Detection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void offersACode();
    void offersNothingWithoutACode_data();
    void offersNothingWithoutACode();
    void offersOneOfSeveralCodes();
    void offersTheSameTextOnce();
    void offersATextAgainAfterAnother();
    void acceptsOnAWorker();
    void outlivesTheWindow();

private:
    void examineAndWait(QImage picture);

    std::shared_ptr<CodeOnOffer> m_offer;
    std::shared_ptr<std::atomic<int>> m_accepted;
};

void Detection::init()
{
    m_offer = std::make_shared<CodeOnOffer>();
    m_accepted = std::make_shared<std::atomic<int>>(0);
}

/// Returns after the examination, which shares the offer while it runs. It gets a copy of the
/// picture: ThreadSanitizer does not see Qt's reference counting.
void Detection::examineAndWait(QImage picture)
{
    vellumcap::examine(std::move(picture), {}, m_offer,
        [accepted = m_accepted](const AcceptedCode&) { ++*accepted; });
    QTRY_COMPARE(m_offer.use_count(), 1);
}

void Detection::offersACode()
{
    const QImage picture = qrCode(u"offered"_s);

    examineAndWait(picture.copy());

    QCOMPARE(m_accepted->load(), 1);
    QCOMPARE(m_offer->captureState(), 1);
    QCOMPARE(m_offer->captureData(), u"offered"_s);
    QCOMPARE(m_offer->capturedImage(), picture);
}

void Detection::offersNothingWithoutACode_data()
{
    QTest::addColumn<QImage>("picture");

    QTest::newRow("blank") << blank();
    QTest::newRow("no picture") << QImage();
    QTest::newRow("no text") << support::drawnCode(
        Symbology::Qr, QByteArray("\x78\x9C\xC5\x99\x5B\x8F"));
}

void Detection::offersNothingWithoutACode()
{
    QFETCH(QImage, picture);

    examineAndWait(picture.copy());

    QCOMPARE(m_accepted->load(), 0);
    QCOMPARE(m_offer->captureState(), 0);
    QVERIFY(!m_offer->captureData());
    QVERIFY(m_offer->capturedImage().isNull());
}

void Detection::offersOneOfSeveralCodes()
{
    examineAndWait(sideBySide(qrCode(u"one"_s), qrCode(u"other"_s)));

    QCOMPARE(m_accepted->load(), 1);
    const QStringList either{ u"one"_s, u"other"_s };
    QVERIFY(either.contains(m_offer->captureData().value_or(QString())));
}

void Detection::offersTheSameTextOnce()
{
    examineAndWait(qrCode(u"same"_s));
    m_offer->setCaptureState(0);
    examineAndWait(qrCode(u"same"_s));

    QCOMPARE(m_accepted->load(), 1);
    QCOMPARE(m_offer->captureState(), 0);
}

void Detection::offersATextAgainAfterAnother()
{
    examineAndWait(qrCode(u"A"_s));
    examineAndWait(qrCode(u"B"_s));
    examineAndWait(qrCode(u"A"_s));

    QCOMPARE(m_accepted->load(), 3);
    QCOMPARE(m_offer->captureData(), u"A"_s);
}

void Detection::acceptsOnAWorker()
{
    auto worker = std::make_shared<std::atomic<std::thread::id>>();

    vellumcap::examine(qrCode(u"worker"_s), {}, m_offer,
        [worker](const AcceptedCode&) { *worker = std::this_thread::get_id(); });
    QTRY_COMPARE(m_offer.use_count(), 1);

    QVERIFY(worker->load() != std::thread::id());
    QVERIFY(worker->load() != std::this_thread::get_id());
}

void Detection::outlivesTheWindow()
{
    vellumcap::examine(qrCode(u"late"_s), {}, m_offer,
        [accepted = m_accepted](const AcceptedCode&) { ++*accepted; });
    m_offer.reset();

    QTRY_COMPARE(m_accepted->load(), 1);
}

VELLUMCAP_TEST(Detection)
#include "tst_detection.moc"
