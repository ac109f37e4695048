// Measures how long a user waits: from Scan to the first picture, and from a code in front of the
// camera to its text on the screen. Uses the real window and a 1080p30 camera, offscreen.

#include "camera/CaptureWindow.h"
#include "platform/camera/CaptureDevice.h"
#include "platform/ui/Application.h"
#include "tests/support/CameraRig.h"
#include "tests/support/Controls.h"
#include "tests/support/DrawnCode.h"
#include "tests/support/Pictures.h"
#include "tests/support/Program.h"
#include "tests/support/ScanningScene.h"
#include "tests/support/TestMain.h"

#include <QPainter>
#include <QTest>

#include <benchmark/benchmark.h>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr QSize frameSize(1920, 1080);

QImage paper(const QString& text)
{
    QImage picture = support::plainPicture(frameSize, QColor(225, 225, 225));
    if (!text.isEmpty()) {
        const QImage code = support::drawnCode(platform::Symbology::Qr, text, 10);
        QPainter(&picture).drawImage(700, 300, code);
    }
    return picture;
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Shared by all measurements; created by the first one.
struct Stage {
    Stage()
    {
        support::CameraWish wish{ u"bench"_s, u"Camera"_s };
        wish.size = frameSize;
        camera = rig.addCamera(wish);
        const bool listed = QTest::qWaitFor(
            [] { return platform::CaptureDevice::deviceWithUniqueID(u"bench"_s).has_value(); },
            support::patience);
        program = listed ? std::make_unique<support::Program>() : nullptr;
    }

    vellumcap::CaptureWindow& scan() const
    {
        program->journal().scan();
        return *program->journal().captureWindow();
    }

    support::CameraRig rig;
    std::unique_ptr<support::RigCamera> camera;
    std::unique_ptr<support::Program> program;
};

std::unique_ptr<Stage>& stage()
{
    static std::unique_ptr<Stage> shared;
    if (!shared) {
        shared = std::make_unique<Stage>();
    }
    return shared;
}

void scanToFirstPicture(benchmark::State& state)
{
    stage()->camera->show(paper({}));
    for ([[maybe_unused]] const auto _ : state) {
        const auto start = Clock::now();
        auto& window = stage()->scan();
        const auto isShown
            = [&window] { return !support::cameraView(window).pictureRect().isEmpty(); };
        if (!QTest::qWaitFor(isShown, support::patience)) {
            state.SkipWithError("no picture");
        }
        state.SetIterationTime(secondsSince(start));
        window.cancelCapture();
        if (!QTest::qWaitFor([] { return stage()->camera->links() == 0; }, support::patience)) {
            state.SkipWithError("not released");
        }
    }
}
BENCHMARK(scanToFirstPicture)->UseManualTime()->Iterations(20)->Unit(benchmark::kMillisecond);

void codeToText(benchmark::State& state)
{
    auto& window = stage()->scan();
    int number = 0;
    for ([[maybe_unused]] const auto _ : state) {
        const QString text = u"code %1"_s.arg(++number);
        stage()->camera->show(paper({}));
        int pictures = 0;
        const auto counting = QObject::connect(&support::cameraView(window),
            &platform::CameraView::pictureChanged, [&pictures] { ++pictures; });
        if (!QTest::qWaitFor([&pictures] { return pictures > 2; }, support::patience)) {
            state.SkipWithError("no picture");
        }
        QObject::disconnect(counting);
        const QImage picture = paper(text);
        stage()->camera->show(picture); // returns when the next frame shows it
        const auto start = Clock::now();
        if (!QTest::qWaitFor(
                [&] { return support::shownText(window) == text; }, support::patience)) {
            state.SkipWithError("not read");
        }
        state.SetIterationTime(secondsSince(start));
        window.skipCapture();
    }
    window.cancelCapture();
}
BENCHMARK(codeToText)->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const support::Sandbox sandbox;
    const platform::Application application(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    stage().reset();
    return 0;
}
