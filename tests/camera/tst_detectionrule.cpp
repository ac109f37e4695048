#include "camera/DetectionRule.h"
#include "platform/barcode/DetectBarcodesRequest.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/TestMain.h"

#include <QPainter>

using namespace Qt::StringLiterals;

using platform::Symbology;

namespace {

// GS1 DataBar of 2001234567890 and of 0061414199999, with their check digits.
constexpr auto oneDataBar = "1111331151274111221215125121112112833212123211";
constexpr auto otherDataBar = "1111212171157111331222111316111117331236111111";

platform::DetectBarcodesRequest performed(const QImage& picture)
{
    platform::DetectBarcodesRequest request(nullptr);
    platform::ImageRequestHandler(picture).perform(request);
    return request;
}

QImage oneAboveTheOther(const QImage& above, const QImage& below)
{
    QImage both(above.width(), above.height() + below.height(), QImage::Format_RGB32);
    both.fill(Qt::white);
    QPainter painter(&both);
    painter.drawImage(0, 0, above);
    painter.drawImage(0, above.height(), below);
    return both;
}

} // namespace

class DetectionRule : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void givesTheTextOfACode();
    void givesNothingWithoutACode();
    void givesNothingForACodeWithoutText();
    void considersOnlyTheFirstResult();
};

void DetectionRule::givesTheTextOfACode()
{
    const auto request = performed(support::drawnCode(Symbology::Qr, u"text"_s));

    QCOMPARE(vellumcap::firstPayload(request), u"text"_s);
}

void DetectionRule::givesNothingWithoutACode()
{
    QCOMPARE(vellumcap::firstPayload(performed(QImage(100, 100, QImage::Format_Grayscale8))),
        std::nullopt);
    QCOMPARE(vellumcap::firstPayload(performed(QImage())), std::nullopt);
}

void DetectionRule::givesNothingForACodeWithoutText()
{
    const auto request
        = performed(support::drawnCode(Symbology::Qr, QByteArray("\x78\x9C\xC5\x99\x5B\x8F")));
    QCOMPARE(request.results().size(), 1);

    QCOMPARE(vellumcap::firstPayload(request), std::nullopt);
}

void DetectionRule::considersOnlyTheFirstResult()
{
    const auto request = performed(
        oneAboveTheOther(support::drawnBars(oneDataBar), support::drawnBars(otherDataBar)));
    QCOMPARE(request.results().size(), 2);
    QVERIFY(
        request.results().at(0).payloadStringValue != request.results().at(1).payloadStringValue);

    QCOMPARE(vellumcap::firstPayload(request), request.results().first().payloadStringValue);
}

VELLUMCAP_TEST(DetectionRule)
#include "tst_detectionrule.moc"
