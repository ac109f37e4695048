#include "platform/camera/FormatChoice.h"
#include "tests/support/TestMain.h"

using platform::CameraFormat;
using platform::chosenFormat;
using Encoding = CameraFormat::Encoding;

Q_DECLARE_METATYPE(CameraFormat)

class FormatChoiceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void chooses_data();
    void chooses();
    void choosesNothingFromNothing();
};

namespace {

CameraFormat format(Encoding encoding, int width, int height, int rate, int denominator = 1)
{
    return { encoding, QSize(width, height), rate, denominator, 5 };
}

} // namespace

void FormatChoiceTest::chooses_data()
{
    QTest::addColumn<QList<CameraFormat>>("offered");
    QTest::addColumn<int>("expected");

    QTest::newRow("the only one") << QList{ format(Encoding::JPEG, 320, 240, 5) } << 0;
    QTest::newRow("the larger") << QList{ format(Encoding::YUY2, 640, 480, 30),
        format(Encoding::YUY2, 1280, 720, 30) }
                                << 1;
    QTest::newRow("not beyond 1080p")
        << QList{ format(Encoding::YUY2, 1920, 1080, 30), format(Encoding::YUY2, 3840, 2160, 30) }
        << 0;
    QTest::newRow("not upright beyond 1080 lines") << QList{ format(Encoding::YUY2, 1080, 1920, 30),
        format(Encoding::YUY2, 640, 480, 30) } << 1;
    QTest::newRow("JPEG where raw is slow") << QList{ format(Encoding::YUY2, 1920, 1080, 5),
        format(Encoding::JPEG, 1920, 1080, 30), format(Encoding::YUY2, 640, 480, 30) }
                                            << 1;
    QTest::newRow("raw before JPEG of one size") << QList{ format(Encoding::JPEG, 1280, 720, 60),
        format(Encoding::YUY2, 1280, 720, 30) } << 1;
    QTest::newRow("BGRx before NV12")
        << QList{ format(Encoding::NV12, 1280, 720, 30), format(Encoding::BGRx, 1280, 720, 30) }
        << 1;
    QTest::newRow("the television rate") << QList{ format(Encoding::YUY2, 640, 480, 30),
        format(Encoding::YUY2, 1280, 720, 30000, 1001) }
                                         << 1;
    QTest::newRow("the fastest where none reaches 30")
        << QList{ format(Encoding::YUY2, 1920, 1080, 5), format(Encoding::YUY2, 640, 480, 25),
               format(Encoding::YUY2, 320, 240, 25) }
        << 1;
    QTest::newRow("the smallest where all are too large")
        << QList{ format(Encoding::YUY2, 3840, 2160, 30), format(Encoding::YUY2, 2560, 1440, 30) }
        << 1;
    QTest::newRow("no rate known")
        << QList{ format(Encoding::YUY2, 640, 480, 0, 0), format(Encoding::YUY2, 1280, 720, 0, 0) }
        << 1;
    QTest::newRow("the first of equals")
        << QList{ format(Encoding::YUY2, 640, 480, 30), format(Encoding::YUY2, 640, 480, 30) } << 0;
}

void FormatChoiceTest::chooses()
{
    QFETCH(QList<CameraFormat>, offered);
    QFETCH(int, expected);
    const auto chosen = chosenFormat(offered);
    QVERIFY(chosen.has_value());
    const CameraFormat& wanted = offered.at(expected);
    QCOMPARE(chosen->encoding, wanted.encoding);
    QCOMPARE(chosen->size, wanted.size);
    QCOMPARE(chosen->rateNumerator, wanted.rateNumerator);
}

void FormatChoiceTest::choosesNothingFromNothing()
{
    QVERIFY(!chosenFormat({}).has_value());
}

VELLUMCAP_TEST(FormatChoiceTest)
#include "tst_formatchoice.moc"
