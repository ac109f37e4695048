// Measures the cost of a camera frame: its conversion, compared with a plain copy of its pixels,
// and its preview at 640 x 360; and the time from the start of a session to its first picture.

#include "platform/camera/CaptureDeviceInput.h"
#include "platform/camera/CaptureSession.h"
#include "platform/camera/CaptureVideoPreviewLayer.h"
#include "platform/camera/SampleBuffer.h"
#include "platform/graphics/ImageFilter.h"
#include "tests/support/CameraFrames.h"
#include "tests/support/CameraRig.h"
#include "tests/support/Sandbox.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QThread>

#include <benchmark/benchmark.h>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr int heights[] = { 720, 1080, 2160 };

QSize sizeOfHeight(int height)
{
    return { height * 16 / 9, height };
}

/// Structure and some noise, so that its JPEG is as large as a camera's: 150 kB at 1080p.
QImage cameraPicture(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    quint32 noise = 1;
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            noise = noise * 1664525 + 1013904223;
            const int grain = static_cast<int>(noise >> 30);
            line[x] = qRgb((x / 7) % 200 + grain, (y / 5) % 200 + grain, (x + y) % 200 + grain);
        }
    }
    return picture;
}

support::Sample sampleOf(const char* encoding, QSize size)
{
    if (std::strcmp(encoding, "JPEG") == 0) {
        QBuffer buffer;
        cameraPicture(size).save(&buffer, "JPG", 85);
        return support::sampleOf(buffer.data(), support::jpegCaps(size));
    }
    const GstVideoInfo info = support::rawLayout(encoding, size);
    const QByteArray bytes(static_cast<qsizetype>(GST_VIDEO_INFO_SIZE(&info)), '\x7f');
    return support::sampleOf(bytes, support::rawCaps(encoding, size));
}

void conversion(benchmark::State& state, const char* encoding)
{
    const auto sample = sampleOf(encoding, sizeOfHeight(static_cast<int>(state.range(0))));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(platform::SampleBuffer(sample.get(), 1).pixels());
    }
}

void plainCopy(benchmark::State& state)
{
    const QImage from = cameraPicture(sizeOfHeight(static_cast<int>(state.range(0))));
    QImage to = cameraPicture(from.size());
    for ([[maybe_unused]] const auto _ : state) {
        std::memcpy(to.bits(), from.constBits(), static_cast<std::size_t>(from.sizeInBytes()));
        benchmark::ClobberMemory();
    }
}

/// The work of the preview: scaled, then adjusted and mirrored.
void previewFrame(benchmark::State& state, const char* encoding)
{
    using platform::ImageFilter;
    const auto sample = sampleOf(encoding, sizeOfHeight(1080));
    const QList filters = { std::make_shared<ImageFilter>(ImageFilter::Kind::ExposureAdjust),
        std::make_shared<ImageFilter>(ImageFilter::Kind::ColorControls) };
    filters[0]->setValue(0.7);
    filters[1]->setValue(1.2);
    for ([[maybe_unused]] const auto _ : state) {
        const QImage scaled = platform::SampleBuffer(sample.get(), 1).pixelsWithin(QSize(640, 360));
        benchmark::DoNotOptimize(
            platform::filtered(scaled, filters, platform::Mirroring::LeftRight));
    }
}

void startToFirstPicture(benchmark::State& state)
{
    support::CameraRig rig;
    const auto camera = rig.addCamera(
        { .name = u"cam.a"_s, .description = u"Camera A"_s, .size = QSize(1920, 1080) });
    while (!platform::CaptureDevice::deviceWithUniqueID(u"cam.a"_s)) {
        QThread::msleep(1);
    }
    for ([[maybe_unused]] const auto _ : state) {
        const auto session = std::make_shared<platform::CaptureSession>();
        session->addInput(platform::CaptureDeviceInput::create(
            platform::CaptureDevice::deviceWithUniqueID(u"cam.a"_s)));
        platform::CaptureVideoPreviewLayer preview(session);
        preview.setFrameSize(QSize(640, 360));
        bool isShown = false;
        preview.setPictureObserver([&isShown] { isShown = true; });
        QElapsedTimer timer;
        timer.start();
        session->startRunning();
        while (!isShown) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    }
}

void registerAll()
{
    for (const char* encoding : { "BGRx", "YUY2", "NV12", "I420", "RGB", "GRAY8", "JPEG" }) {
        auto* conversions = benchmark::RegisterBenchmark(
            (std::string("conversion/") + encoding).c_str(), conversion, encoding);
        for (const int height : heights) {
            conversions->Arg(height);
        }
        conversions->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(
            (std::string("preview/") + encoding).c_str(), previewFrame, encoding)
            ->Unit(benchmark::kMillisecond);
    }
    auto* copies = benchmark::RegisterBenchmark("plainCopy", plainCopy);
    for (const int height : heights) {
        copies->Arg(height);
    }
    copies->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("startToFirstPicture", startToFirstPicture)
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(20);
}

} // namespace

int main(int argc, char** argv)
{
    const support::Sandbox sandbox;
    const QGuiApplication application(argc, argv);
    gst_init(nullptr, nullptr);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
