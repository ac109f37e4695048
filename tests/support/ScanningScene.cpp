#include "tests/support/ScanningScene.h"

#include "camera/ScanningWindow.h"
#include "tests/support/CaptureScene.h"
#include "tests/support/Controls.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/Examinations.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace support {

CameraWish cameraNamed(const QString& name)
{
    CameraWish wish = smallCamera();
    wish.name = name;
    wish.description = u"Camera "_s + name;
    return wish;
}

CameraOnStage plugIn(CameraRig& rig, const CameraWish& wish, const QImage& picture)
{
    CameraOnStage camera(rig.plugIn(wish).release());
    if (!picture.isNull()) {
        camera->show(picture);
    }
    return camera;
}

QImage paper(const QString& text)
{
    QImage picture = plainPicture(frameSize, QColor(230, 230, 230));
    QPainter painter(&picture);
    painter.fillRect(0, 0, 100, frameSize.height(), QColor(60, 60, 60));
    if (!text.isEmpty()) {
        const QImage code = drawnCode(platform::Symbology::Qr, text, 6);
        painter.drawImage(160, (frameSize.height() - code.height()) / 2, code);
    }
    return picture;
}

platform::CameraView& cameraView(vellumcap::ScanningWindow& window)
{
    return *control<platform::CameraView>(window, "cameraImageView");
}

bool showsLivePicture(vellumcap::ScanningWindow& window)
{
    return !cameraView(window).pictureRect().isEmpty();
}

bool picturesPass(vellumcap::ScanningWindow& window)
{
    int pictures = 0;
    const auto counting = QObject::connect(
        &cameraView(window), &platform::CameraView::pictureChanged, [&pictures] { ++pictures; });
    const bool passed = QTest::qWaitFor([&pictures] { return pictures >= 10; }, patience);
    QObject::disconnect(counting);
    return passed;
}

bool takeAway(RigCamera& camera, vellumcap::ScanningWindow& window)
{
    camera.show(paper());
    const bool passed = picturesPass(window);
    waitForExaminations();
    return passed;
}

void addMirroringRows()
{
    QTest::addColumn<int>("stored");
    QTest::addColumn<bool>("mirrored");

    QTest::newRow("1") << 1 << true;
    QTest::newRow("0") << 0 << false;
    QTest::newRow("2") << 2 << false;
    QTest::newRow("-1") << -1 << false;
}

} // namespace support
