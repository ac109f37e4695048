// Threads: std
#include "camera/CodeOnOffer.h"
#include "camera/FramePipeline.h"
#include "camera/FramePreparation.h"
#include "platform/camera/CaptureConnection.h"
#include "platform/graphics/ImageFilter.h"
#include "platform/services/UserDefaults.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"

#include <QPainter>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;

using platform::ImageFilter;
using platform::Symbology;
using platform::UserDefaults;
using vellumcap::CodeOnOffer;
using vellumcap::FramePipeline;

namespace {

using WhileOffering = FramePipeline::WhileOffering;

const QString mirrorKey = u"pref-mirror-video"_s;

/// A light grey frame with a code left of the middle.
QImage frameWith(const QString& text)
{
    QImage frame(400, 240, QImage::Format_RGB32);
    frame.fill(qRgb(200, 200, 200));
    QPainter(&frame).drawImage(60, 30, support::drawnCode(Symbology::Qr, text));
    return frame;
}

/// A pair of filters that changes nothing.
QList<std::shared_ptr<ImageFilter>> neutralFilters()
{
    return { std::make_shared<ImageFilter>(ImageFilter::Kind::ExposureAdjust),
        std::make_shared<ImageFilter>(ImageFilter::Kind::ColorControls) };
}

/// Blocks the threads that enter until it is opened.
class Barrier {
public:
    void enter()
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
    }
    void waitFor(int waiting)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this, waiting] { return m_waiting >= waiting; });
    }
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_waiting = 0;
    bool m_open = false;
};

int cores()
{
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

} // namespace

class FramePipelineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void offersWhatWasPrepared();
    void ignoresFramesWhileOffering();
    void examinesFramesWhileOfferingWhenAsked();
    void findsNothingInOddFrames_data();
    void findsNothingInOddFrames();
    void mirrorsOnExactlyOne_data();
    void mirrorsOnExactlyOne();
    void neverMirrorsWithoutAConnection();
    void readsWhatItMirrors();
    void followsPreferencesWithTheNextFrame();
    void dropsFramesWhileAllCoresExamine();
    void isConsistentWithManyThreads();

private:
    void start(WhileOffering whileOffering, std::function<void()> accepted = {});
    void examine(const QImage& frame);
    /// Each running examination shares the offer.
    bool areExaminationsOver() const { return m_offer.use_count() == offerHolders; }

    static constexpr long offerHolders = 2; // this test and the pipeline
    std::shared_ptr<CodeOnOffer> m_offer;
    std::shared_ptr<FramePipeline> m_pipeline;
    QList<std::shared_ptr<ImageFilter>> m_filters;
    std::atomic<int> m_accepted = 0;
    int m_asked = 0; // number of requests for bitmaps
};

void FramePipelineTest::init()
{
    UserDefaults::standard().removeObject(mirrorKey);
    m_accepted = 0;
    m_asked = 0;
    m_filters = neutralFilters();
    start(WhileOffering::Ignored);
}

void FramePipelineTest::cleanup()
{
    QTRY_VERIFY(areExaminationsOver());
}

void FramePipelineTest::start(WhileOffering whileOffering, std::function<void()> accepted)
{
    m_offer = std::make_shared<CodeOnOffer>();
    m_pipeline = std::make_shared<FramePipeline>(FramePipeline::Setup{ m_offer, whileOffering,
        [this, accepted = std::move(accepted)](const vellumcap::AcceptedCode&) {
            ++m_accepted;
            if (accepted) {
                accepted();
            }
        } });
    m_pipeline->setPreparation(m_filters, std::make_shared<platform::CaptureConnection>());
}

void FramePipelineTest::examine(const QImage& frame)
{
    m_pipeline->examineFrame([this, &frame] {
        ++m_asked;
        return frame.copy(); // ThreadSanitizer does not see Qt's reference counting
    });
}

void FramePipelineTest::offersWhatWasPrepared()
{
    const QImage frame = frameWith(u"prepared"_s);
    m_filters.at(0)->setValue(-0.5);
    m_filters.at(1)->setValue(0.75);

    examine(frame);
    QTRY_COMPARE(m_accepted.load(), 1);

    QCOMPARE(m_offer->captureState(), 1);
    QCOMPARE(m_offer->captureData(), u"prepared"_s);
    const QImage expected = platform::filtered(frame, m_filters, platform::Mirroring::Off);
    QVERIFY(expected != frame);
    QCOMPARE(m_offer->capturedImage(), expected);
}

void FramePipelineTest::ignoresFramesWhileOffering()
{
    examine(frameWith(u"first"_s));
    QTRY_COMPARE(m_accepted.load(), 1);

    examine(frameWith(u"second"_s));
    QCOMPARE(m_asked, 1);

    m_offer->setCaptureState(0);
    examine(frameWith(u"second"_s));
    QTRY_COMPARE(m_accepted.load(), 2);
    QCOMPARE(m_offer->captureData(), u"second"_s);
}

void FramePipelineTest::examinesFramesWhileOfferingWhenAsked()
{
    start(WhileOffering::Examined);
    for (const char* text : { "A", "B", "A" }) {
        examine(frameWith(QString::fromLatin1(text)));
        QTRY_VERIFY(areExaminationsOver());
    }

    QCOMPARE(m_accepted.load(), 3);
    QCOMPARE(m_offer->captureData(), u"A"_s);
}

void FramePipelineTest::findsNothingInOddFrames_data()
{
    QTest::addColumn<QImage>("frame");

    QImage white(640, 480, QImage::Format_RGB32);
    white.fill(Qt::white);
    QImage pixel(1, 1, QImage::Format_RGB32);
    pixel.fill(Qt::black);
    QTest::newRow("no code") << white;
    QTest::newRow("one pixel") << pixel;
    QTest::newRow("undecodable") << QImage();
}

void FramePipelineTest::findsNothingInOddFrames()
{
    QFETCH(QImage, frame);

    examine(frame);
    QTRY_VERIFY(areExaminationsOver());

    QCOMPARE(m_asked, 1);
    QCOMPARE(m_accepted.load(), 0);
    QCOMPARE(m_offer->captureState(), 0);
}

void FramePipelineTest::mirrorsOnExactlyOne_data()
{
    support::addMirroringRows();
}

void FramePipelineTest::mirrorsOnExactlyOne()
{
    QFETCH(int, stored);
    QFETCH(bool, mirrored);
    const QImage frame = frameWith(u"which side"_s);
    UserDefaults::standard().setInteger(mirrorKey, stored);

    examine(frame);
    QTRY_COMPARE(m_accepted.load(), 1);

    QCOMPARE(m_offer->capturedImage(), mirrored ? frame.mirrored(true, false) : frame);
    QCOMPARE(m_offer->captureData(), u"which side"_s);
}

void FramePipelineTest::neverMirrorsWithoutAConnection()
{
    const QImage frame = frameWith(u"no preview"_s);
    UserDefaults::standard().setInteger(mirrorKey, 1);
    m_pipeline->setPreparation(m_filters, nullptr);

    examine(frame);
    QTRY_COMPARE(m_accepted.load(), 1);

    QCOMPARE(m_offer->capturedImage(), frame);
}

/// Aztec and Data Matrix codes differ from their mirror images.
void FramePipelineTest::readsWhatItMirrors()
{
    QImage frame(300, 240, QImage::Format_RGB32);
    frame.fill(Qt::white);
    QPainter(&frame).drawImage(70, 40, support::drawnCode(Symbology::Aztec, u"mirrored"_s));
    UserDefaults::standard().setInteger(mirrorKey, 1);

    examine(frame);
    QTRY_COMPARE(m_accepted.load(), 1);

    QCOMPARE(m_offer->captureData(), u"mirrored"_s);
    QCOMPARE(m_offer->capturedImage(), frame.mirrored(true, false));
}

void FramePipelineTest::followsPreferencesWithTheNextFrame()
{
    start(WhileOffering::Examined);
    const QImage first = frameWith(u"before"_s);
    const QImage second = frameWith(u"after"_s);

    examine(first);
    QTRY_COMPARE(m_accepted.load(), 1);
    QCOMPARE(m_offer->capturedImage(), first);

    UserDefaults::standard().setInteger(mirrorKey, 1);
    m_filters.at(0)->setValue(0.25);
    examine(second);
    QTRY_COMPARE(m_accepted.load(), 2);
    QCOMPARE(m_offer->capturedImage(),
        platform::filtered(second, m_filters, platform::Mirroring::LeftRight));
}

void FramePipelineTest::dropsFramesWhileAllCoresExamine()
{
    const auto barrier = std::make_shared<Barrier>();
    start(WhileOffering::Examined, [barrier] { barrier->enter(); });
    for (int running = 1; running <= cores(); ++running) {
        examine(frameWith(QString::number(running)));
        barrier->waitFor(running);
    }

    examine(frameWith(u"late"_s));
    QCOMPARE(m_asked, cores());

    barrier->open();
    QTRY_VERIFY(areExaminationsOver());
    examine(frameWith(u"in time"_s));
    QCOMPARE(m_asked, cores() + 1);
    QTRY_COMPARE(m_offer->captureData(), u"in time"_s);
}

void FramePipelineTest::isConsistentWithManyThreads()
{
    constexpr int frames = 60;
    std::atomic<bool> isEnded = false;
    std::atomic<int> shown = 0;
    std::thread camera([this, &isEnded] {
        for (int number = 0; number < frames; ++number) {
            examine(frameWith(QString::number(number)));
        }
        isEnded = true;
    });
    std::thread window([this, &isEnded, &shown] {
        while (!isEnded) {
            if (m_offer->captureState() == 1) {
                shown += m_offer->captureData().has_value() ? 1 : 0;
                m_offer->setCapturedImage(QImage());
                m_offer->setCaptureState(0);
            }
            m_filters.at(0)->setValue(shown % 2 * 0.1);
            std::this_thread::yield();
        }
    });
    camera.join();
    window.join();
    QTRY_VERIFY(areExaminationsOver());

    QVERIFY(m_accepted > 0);
    QVERIFY(m_accepted <= m_asked);
    QVERIFY(m_asked <= frames);
    QVERIFY(shown <= m_accepted);
}

VELLUMCAP_TEST(FramePipelineTest)
#include "tst_framepipeline.moc"
