#include "camera/CaptureWindow.h"
#include "platform/camera/CaptureConnection.h"
#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/graphics/ImageFilter.h"
#include "platform/services/UserDefaults.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Browser.h"
#include "tests/support/Controls.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"

#include <QPushButton>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

using platform::CaptureDevice;
using platform::UserDefaults;
using support::cameraNamed;
using support::CameraRig;
using support::cameraView;
using support::CameraWish;
using support::click;
using support::control;
using support::frameSize;
using support::paper;
using support::picturesPass;
using support::plugIn;
using support::Program;
using support::shownText;
using support::showsLivePicture;
using support::takeAway;
using vellumcap::CaptureWindow;

namespace {

const QString cameraKey = u"pref-camera-id"_s;
const QString contrastKey = u"pref-camera-contrast"_s;
const QString mirrorKey = u"pref-mirror-video"_s;

const QString scanning = u"buttonCancel"_s;
const QString confirming = u"buttonCancel buttonSave buttonSkip"_s;
const QString confirmingLink = u"buttonCancel buttonSave buttonSkip buttonOpenLink"_s;

CaptureWindow& openScan(Program& program)
{
    program.journal().scan();
    return *program.journal().captureWindow();
}

QString enabledButtons(CaptureWindow& window)
{
    QStringList names;
    for (const char* name : { "buttonCancel", "buttonSave", "buttonSkip", "buttonOpenLink" }) {
        if (control<QPushButton>(window, name)->isEnabled()) {
            names.append(QString::fromLatin1(name));
        }
    }
    return names.join(QLatin1Char(' '));
}

/// The brightness of the preview near its left and its right edge.
std::pair<int, int> edges(const CaptureWindow& window)
{
    const QImage picture = window.preview()->picture();
    return { qGray(picture.pixel(picture.width() / 20, picture.height() / 2)),
        qGray(picture.pixel(picture.width() * 19 / 20, picture.height() / 2)) };
}

} // namespace

class CaptureWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void scansAtFirst();
    void choosesTheCamera_data();
    void choosesTheCamera();
    void filtersByContrast_data();
    void filtersByContrast();
    void followsContrastAndMirroring();
    void mirrorsOnExactlyOne_data();
    void mirrorsOnExactlyOne();
    void offersTheFirstCode();
    void enablesOpenLinkForLinksOnly_data();
    void enablesOpenLinkForLinksOnly();
    void opensTheLinkAndStays();
    void offersTheSameCodeOnce();
    void savesCodeAndPicture();
    void savesMirroredAndReadsUnmirrored();
    void cancelWhileConfirmingStoresNothing();
    void cancelReleasesTheCamera();
    void escapeCancels();
    void closingCancels();
    void aNewWindowOffersTheCodeAgain();
    void anUnpluggedCameraLeavesACaption();
    void aFrozenCameraLeavesACaption();
    void followsACameraThatChangesItsFormat_data();
    void followsACameraThatChangesItsFormat();
    void aCameraThatSendsNoPicturesLeavesACaption();
    void aCameraThatRefusesLeavesACaption();
    void readsWhatACameraOffers_data();
    void readsWhatACameraOffers();
    void survivesWithoutACamera();

private:
    std::unique_ptr<CameraRig> m_rig;
    std::unique_ptr<support::Browser> m_browser;
};

void CaptureWindowTest::initTestCase()
{
    m_rig = std::make_unique<CameraRig>();
    m_browser = std::make_unique<support::Browser>();
}

void CaptureWindowTest::init()
{
    for (const QString& key : { cameraKey, contrastKey, mirrorKey }) {
        UserDefaults::standard().removeObject(key);
    }
}

void CaptureWindowTest::cleanup()
{
    QTRY_VERIFY(CaptureDevice::devicesWithMediaType(platform::MediaType::Video).isEmpty());
}

void CaptureWindowTest::scansAtFirst()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);

    QCOMPARE(window.window()->windowTitle(), u"Capture"_s);
    QCOMPARE(window.captureState(), 0);
    QCOMPARE(enabledButtons(window), scanning);
    QVERIFY(window.mCaptureSession()->isRunning());
    QVERIFY(!control<platform::ImageView>(window, "capturedImageView")->isVisible());
    QVERIFY(!window.captureData());
    QCOMPARE(shownText(window), QString());
    QVERIFY(cameraView(window).accessibleDescription().startsWith(u"Waiting"_s));
    QTRY_VERIFY(showsLivePicture(window));
    QCOMPARE(cameraView(window).caption(), QString());
    QTRY_COMPARE(cameraView(window).accessibleDescription(), QString());
}

void CaptureWindowTest::choosesTheCamera_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("standard");
    QTest::addColumn<QString>("used");

    QTest::newRow("the stored one") << "b"
                                    << "a"
                                    << "b";
    QTest::newRow("the default one") << QString() << "b"
                                     << "b";
    QTest::newRow("the stored one is gone") << "c"
                                            << "b"
                                            << "b";
}

void CaptureWindowTest::choosesTheCamera()
{
    QFETCH(QString, stored);
    QFETCH(QString, standard);
    QFETCH(QString, used);
    const auto first = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    const auto second = plugIn(*m_rig, cameraNamed(u"b"_s), paper());
    m_rig->setDefaultCamera(standard);
    QTRY_COMPARE(CaptureDevice::defaultDeviceWithMediaType(platform::MediaType::Video)->uniqueID(),
        standard);
    if (!stored.isEmpty()) {
        UserDefaults::standard().setString(cameraKey, stored);
    }
    Program program;

    auto& window = openScan(program);

    QCOMPARE(window.mCaptureDevice()->uniqueID(), used);
    QCOMPARE(window.mCaptureDeviceInput()->device().uniqueID(), used);
    QCOMPARE(UserDefaults::standard().stringForKey(cameraKey).value_or(QString()), stored);
    QTRY_COMPARE(used == u"a"_s ? first->links() : second->links(), 1);

    // A new choice affects the next window only.
    UserDefaults::standard().setString(cameraKey, u"a"_s);
    QCOMPARE(window.mCaptureDevice()->uniqueID(), used);
    window.cancelCapture();
    QCOMPARE(openScan(program).mCaptureDevice()->uniqueID(), u"a"_s);
}

void CaptureWindowTest::filtersByContrast_data()
{
    QTest::addColumn<std::optional<double>>("stored");
    QTest::addColumn<double>("exposure");
    QTest::addColumn<double>("contrast");

    QTest::newRow("unset") << std::optional<double>() << 0.5 << 1.0;
    QTest::newRow("0") << std::optional(0.0) << 0.5 << 1.0;
    QTest::newRow("50") << std::optional(50.0) << 1.0 << 1.5;
    QTest::newRow("-50") << std::optional(-50.0) << 0.0 << 0.5;
}

void CaptureWindowTest::filtersByContrast()
{
    QFETCH(std::optional<double>, stored);
    QFETCH(double, exposure);
    QFETCH(double, contrast);
    if (stored) {
        UserDefaults::standard().setDouble(contrastKey, *stored);
    }
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;

    auto& window = openScan(program);

    QCOMPARE(window.previewF1()->name(), u"exposure"_s);
    QCOMPARE(window.previewF2()->name(), u"contrast"_s);
    for (const auto& filter : { window.previewF1(), window.scannerF1() }) {
        QCOMPARE(filter->kind(), platform::ImageFilter::Kind::ExposureAdjust);
        QCOMPARE(filter->value(), exposure);
    }
    for (const auto& filter : { window.previewF2(), window.scannerF2() }) {
        QCOMPARE(filter->kind(), platform::ImageFilter::Kind::ColorControls);
        QCOMPARE(filter->value(), contrast);
    }
    QCOMPARE(window.preview()->filterNamed(u"exposure"_s), window.previewF1());
    QCOMPARE(window.preview()->filterNamed(u"contrast"_s), window.previewF2());
    // The brightness of paper(), 60 and 230 of 255, after the filters.
    const auto expected = [&window](double component) {
        const double exposed = window.previewF1()->applied(component);
        return qRound(std::clamp(window.previewF2()->applied(exposed), 0.0, 1.0) * 255);
    };
    QTRY_VERIFY(showsLivePicture(window));
    constexpr int colourConversion = 3; // levels lost by the conversion to YUV
    QVERIFY(qAbs(edges(window).first - expected(60 / 255.0)) <= colourConversion);
    QVERIFY(qAbs(edges(window).second - expected(230 / 255.0)) <= colourConversion);
}

void CaptureWindowTest::followsContrastAndMirroring()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_VERIFY(showsLivePicture(window));
    const auto before = edges(window);
    QVERIFY(before.first < before.second);

    UserDefaults::standard().setInteger(mirrorKey, 1);
    QVERIFY(window.preview()->connection()->isVideoMirrored());
    QTRY_VERIFY(edges(window).first > edges(window).second);

    UserDefaults::standard().setDouble(contrastKey, -50);
    QCOMPARE(window.previewF1()->value(), 0.0);
    QCOMPARE(window.previewF2()->value(), 0.5);
    QCOMPARE(window.scannerF1()->value(), 0.0);
    QCOMPARE(window.scannerF2()->value(), 0.5);
    QTRY_VERIFY(edges(window).first - edges(window).second < before.second - before.first - 40);
}

void CaptureWindowTest::mirrorsOnExactlyOne_data()
{
    support::addMirroringRows();
}

void CaptureWindowTest::mirrorsOnExactlyOne()
{
    QFETCH(int, stored);
    QFETCH(bool, mirrored);
    UserDefaults::standard().setInteger(mirrorKey, stored);
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;

    auto& window = openScan(program);

    QCOMPARE(window.preview()->connection()->isVideoMirrored(), mirrored);
    QTRY_VERIFY(showsLivePicture(window));
    QCOMPARE(edges(window).first > edges(window).second, mirrored);
}

void CaptureWindowTest::offersTheFirstCode()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_VERIFY(showsLivePicture(window));
    QCOMPARE(window.captureState(), 0);

    camera->show(paper(u"first"_s));

    QTRY_COMPARE(shownText(window), u"first"_s);
    QCOMPARE(window.captureState(), 1);
    QCOMPARE(window.captureData(), u"first"_s);
    QCOMPARE(window.capturedImage().size(), frameSize);
    QVERIFY(control<platform::ImageView>(window, "capturedImageView")->isVisible());
    QCOMPARE(
        control<platform::ImageView>(window, "capturedImageView")->image(), window.capturedImage());
    QCOMPARE(enabledButtons(window), confirming);
    QVERIFY(!window.mCaptureSession()->isRunning());
    QTRY_COMPARE(camera->links(), 0);
}

void CaptureWindowTest::enablesOpenLinkForLinksOnly_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("buttons");

    QTest::newRow("link") << "https://example.org/a" << confirmingLink;
    QTest::newRow("bare host") << "example.org" << confirming;
}

void CaptureWindowTest::enablesOpenLinkForLinksOnly()
{
    QFETCH(QString, text);
    QFETCH(QString, buttons);
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(text));
    Program program;

    auto& window = openScan(program);

    QTRY_COMPARE(shownText(window), text);
    QCOMPARE(enabledButtons(window), buttons);
}

void CaptureWindowTest::opensTheLinkAndStays()
{
    const QString link = u"https://Example.org/%7Ea?b=c#d"_s;
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(link));
    Program program;
    auto& window = openScan(program);
    QTRY_COMPARE(shownText(window), link);

    click(window, "buttonOpenLink");

    QTRY_COMPARE(m_browser->opened(), QStringList(link));
    QCOMPARE(window.captureState(), 1);
    QCOMPARE(shownText(window), link);
    QCOMPARE(enabledButtons(window), confirmingLink);
    QVERIFY(!window.mCaptureSession()->isRunning());
    QCOMPARE(program.journal().captures().size(), 0);
}

void CaptureWindowTest::offersTheSameCodeOnce()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(u"A"_s));
    Program program;
    auto& window = openScan(program);
    QTRY_COMPARE(shownText(window), u"A"_s);

    click(window, "buttonSkip");

    QCOMPARE(window.captureState(), 0);
    QCOMPARE(shownText(window), QString());
    QCOMPARE(window.captureData(), u"A"_s);
    QVERIFY(window.capturedImage().isNull());
    QVERIFY(!control<platform::ImageView>(window, "capturedImageView")->isVisible());
    QCOMPARE(enabledButtons(window), scanning);
    QVERIFY(window.mCaptureSession()->isRunning());
    QVERIFY(picturesPass(window));
    QCOMPARE(window.captureState(), 0);

    QVERIFY(takeAway(*camera, window));
    camera->show(paper(u"B"_s));
    QTRY_COMPARE(shownText(window), u"B"_s);
    window.skipCapture();
    QVERIFY(takeAway(*camera, window));
    camera->show(paper(u"A"_s));
    QTRY_COMPARE(shownText(window), u"A"_s);
}

void CaptureWindowTest::savesCodeAndPicture()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(u"keep me"_s));
    Program program;
    auto& window = openScan(program);
    QTRY_COMPARE(shownText(window), u"keep me"_s);
    const QImage shown = window.capturedImage();

    click(window, "buttonSave");

    QCOMPARE(program.journal().captures().size(), 1);
    const auto capture = program.journal().captures().front();
    QCOMPARE(capture->captureValue(), u"keep me"_s);
    QCOMPARE(QImage(capture->getImageUrl()).size(), shown.size());
    QCOMPARE(Program::pictures().size(), 1);
    QVERIFY(window.mCaptureSession()->isRunning());
    QVERIFY(picturesPass(window));
    QCOMPARE(window.captureState(), 0);

    QVERIFY(takeAway(*camera, window));
    camera->show(paper(u"me too"_s));
    QTRY_COMPARE(shownText(window), u"me too"_s);
    window.saveCapture();
    QCOMPARE(program.journal().captures().size(), 2);
    QCOMPARE(program.journal().captures().front()->captureValue(), u"me too"_s);
}

void CaptureWindowTest::savesMirroredAndReadsUnmirrored()
{
    UserDefaults::standard().setInteger(mirrorKey, 1);
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(u"looking glass"_s));
    Program program;

    auto& window = openScan(program);
    QTRY_COMPARE(shownText(window), u"looking glass"_s);

    const QImage picture = window.capturedImage();
    QVERIFY(qGray(picture.pixel(20, 20)) > qGray(picture.pixel(picture.width() - 20, 20)));
}

void CaptureWindowTest::cancelWhileConfirmingStoresNothing()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(u"not this"_s));
    Program program;
    auto& window = openScan(program);
    QTRY_COMPARE(window.captureState(), 1);

    click(window, "buttonCancel");

    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    QVERIFY(!window.window()->isVisible());
    QCOMPARE(program.journal().captures().size(), 0);
    QVERIFY(Program::pictures().isEmpty());
}

void CaptureWindowTest::cancelReleasesTheCamera()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_COMPARE(camera->links(), 1);

    click(window, "buttonCancel");

    QVERIFY(!window.mCaptureSession());
    QVERIFY(!window.mCaptureDeviceInput());
    QVERIFY(!window.mCaptureVideoDataOutput());
    QVERIFY(!window.preview());
    QCOMPARE(window.mCaptureDevice()->uniqueID(), u"a"_s);
    QTRY_COMPARE(camera->links(), 0);
    // Calls and settings that arrive after cancelling have no effect on the camera.
    window.confirmCapture();
    window.resumeCapturing();
    UserDefaults::standard().setDouble(contrastKey, 20);
    UserDefaults::standard().setInteger(mirrorKey, 1);
    QCOMPARE(window.scannerF2()->value(), 1.2);
}

void CaptureWindowTest::escapeCancels()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);

    QTest::keyClick(window.window(), Qt::Key_Escape);

    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    QVERIFY(!window.mCaptureSession());
}

void CaptureWindowTest::closingCancels()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_COMPARE(camera->links(), 1);

    QVERIFY(window.window()->close());

    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    QVERIFY(!window.window()->isVisible());
    QVERIFY(!window.mCaptureSession());
    QTRY_COMPARE(camera->links(), 0);
    QVERIFY(openScan(program).mCaptureSession()->isRunning());
}

void CaptureWindowTest::aNewWindowOffersTheCodeAgain()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(u"again"_s));
    Program program;
    auto& first = openScan(program);
    QTRY_COMPARE(shownText(first), u"again"_s);
    first.cancelCapture();

    auto& second = openScan(program);

    QTRY_COMPARE(shownText(second), u"again"_s);
}

void CaptureWindowTest::anUnpluggedCameraLeavesACaption()
{
    auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_VERIFY(showsLivePicture(window));

    camera->unplug();

    QTRY_VERIFY(cameraView(window).caption().contains(u"unplugged"_s));
    QCOMPARE(cameraView(window).accessibleDescription(), cameraView(window).caption());
    QVERIFY(!showsLivePicture(window));
    camera.reset();
    camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper(u"back"_s));
    QTRY_COMPARE(shownText(window), u"back"_s);
    window.cancelCapture();
    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
}

void CaptureWindowTest::aFrozenCameraLeavesACaption()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_VERIFY(showsLivePicture(window));

    camera->freeze();
    QTRY_VERIFY(cameraView(window).caption().contains(u"no picture"_s));

    camera->thaw();
    QTRY_VERIFY(showsLivePicture(window));
    QCOMPARE(cameraView(window).caption(), QString());
}

void CaptureWindowTest::followsACameraThatChangesItsFormat_data()
{
    QTest::addColumn<bool>("keepsNode");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QSize>("size");

    QTest::newRow("new node, smaller") << false << "YUY2:480x360@30" << QSize(480, 360);
    QTest::newRow("new node, larger") << false << "JPEG:800x600@30" << QSize(800, 600);
    QTest::newRow("same node, smaller") << true << "JPEG:480x360@30" << QSize(480, 360);
    QTest::newRow("same node, larger") << true << "YUY2:800x600@30" << QSize(800, 600);
}

void CaptureWindowTest::followsACameraThatChangesItsFormat()
{
    QFETCH(const bool, keepsNode);
    QFETCH(const QString, mode);
    QFETCH(const QSize, size);
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_VERIFY(showsLivePicture(window));

    if (keepsNode) {
        camera->renegotiate({ mode });
    } else {
        camera->setModes({ mode });
    }
    camera->show(paper(u"changed"_s));

    QTRY_COMPARE(shownText(window), u"changed"_s);
    // The code may have been read before the change.
    if (window.capturedImage().size() == frameSize) {
        window.skipCapture();
        camera->show(paper(u"changed since"_s));
        QTRY_COMPARE(shownText(window), u"changed since"_s);
    }
    QCOMPARE(window.capturedImage().size(), size);
    QCOMPARE(cameraView(window).caption(), QString());
    click(window, "buttonCancel");
    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
}

void CaptureWindowTest::aCameraThatSendsNoPicturesLeavesACaption()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    Program program;
    auto& window = openScan(program);
    QTRY_VERIFY(showsLivePicture(window));

    camera->lie(u"YUY2:320x240@30"_s); // in frames that are announced as larger
    QTRY_VERIFY(cameraView(window).caption().contains(u"no picture"_s));
    QVERIFY(!showsLivePicture(window));

    click(window, "buttonCancel");
    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
}

void CaptureWindowTest::aCameraThatRefusesLeavesACaption()
{
    const auto camera = plugIn(*m_rig, cameraNamed(u"a"_s), paper());
    camera->refuse();
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression(u"The camera a cannot be used: .+"_s));
    Program program;

    auto& window = openScan(program);

    QTRY_VERIFY(cameraView(window).caption().contains(u"cannot be opened"_s));
    QVERIFY(!showsLivePicture(window));
    click(window, "buttonCancel");
    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
}

void CaptureWindowTest::readsWhatACameraOffers_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("rate");

    QTest::newRow("2160 lines") << "YUY2" << QSize(3840, 2160) << 30;
    QTest::newRow("2160 lines of JPEG") << "JPEG" << QSize(3840, 2160) << 30;
    QTest::newRow("15 frames a second") << "YUY2" << QSize(1280, 720) << 15;
}

void CaptureWindowTest::readsWhatACameraOffers()
{
    QFETCH(const QString, encoding);
    QFETCH(const QSize, size);
    QFETCH(const int, rate);
    CameraWish wish{ u"a"_s, u"Camera"_s };
    wish.encoding = encoding;
    wish.size = size;
    wish.rate = rate;
    const auto camera = plugIn(*m_rig, wish, paper(u"as it is"_s).scaled(size));
    Program program;

    auto& window = openScan(program);

    QTRY_COMPARE(shownText(window), u"as it is"_s);
    QCOMPARE(window.capturedImage().size(), size);
    window.skipCapture();
    QTRY_VERIFY(showsLivePicture(window));
    QCOMPARE(cameraView(window).caption(), QString());
}

void CaptureWindowTest::survivesWithoutACamera()
{
    {
        Program program;
        QVERIFY(!program.journal().scanAvailable());
        program.journal().scan();
        QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
    }
    auto camera = plugIn(*m_rig, cameraNamed(u"a"_s));
    Program program;
    QVERIFY(program.journal().scanAvailable());
    camera.reset();
    QTRY_VERIFY(CaptureDevice::devicesWithMediaType(platform::MediaType::Video).isEmpty());

    auto& window = openScan(program);

    QVERIFY(!window.mCaptureDevice());
    QVERIFY(!window.mCaptureDeviceInput());
    QTRY_VERIFY(cameraView(window).caption().contains(u"No camera"_s));
    click(window, "buttonCancel");
    QVERIFY(platform::attachedSheet(program.journal().window()) == nullptr);
}

VELLUMCAP_TEST(CaptureWindowTest)
#include "tst_capturewindow.moc"
