// Measures the cost of preparing a camera frame for the detection of codes, and of the detection.

#include "camera/FramePreparation.h"
#include "platform/barcode/DetectBarcodesRequest.h"
#include "platform/barcode/LiveScan.h"
#include "platform/barcode/QRCodeGenerator.h"
#include "platform/graphics/BitmapPool.h"
#include "platform/graphics/ImageFilter.h"

#include <QImage>
#include <QPainter>

#include <benchmark/benchmark.h>
#include <cstring>

using platform::ImageFilter;

namespace {

QImage photograph(int height)
{
    QImage picture = platform::pooledBitmap({ height * 16 / 9, height });
    quint32 state = 1;
    for (int y = 0; y < picture.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            state = state * 1664525 + 1013904223;
            const int grain = static_cast<int>(state >> 28);
            line[x] = qRgb((x / 8 + grain) & 0xFF, (y / 4 + grain) & 0xFF, ((x + y) / 16) & 0xFF);
        }
    }
    return picture;
}

QList<std::shared_ptr<ImageFilter>> filterPair()
{
    auto exposure = std::make_shared<ImageFilter>(ImageFilter::Kind::ExposureAdjust);
    auto contrast = std::make_shared<ImageFilter>(ImageFilter::Kind::ColorControls);
    exposure->setValue(0.7);
    contrast->setValue(1.2);
    return { exposure, contrast };
}

void copyPixels(benchmark::State& state)
{
    const QImage frame = photograph(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] const auto _ : state) {
        QImage copy = platform::pooledBitmap(frame.size());
        std::memcpy(copy.bits(), frame.constBits(), static_cast<std::size_t>(frame.sizeInBytes()));
        benchmark::DoNotOptimize(copy.constBits());
    }
}
BENCHMARK(copyPixels)->Arg(720)->Arg(1080)->Arg(2160)->Unit(benchmark::kMillisecond);

void filterPixels(benchmark::State& state)
{
    const QImage frame = photograph(static_cast<int>(state.range(0)));
    const auto filters = filterPair();
    const auto mirroring
        = state.range(1) == 1 ? platform::Mirroring::LeftRight : platform::Mirroring::Off;
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(platform::filtered(frame, filters, mirroring).constBits());
    }
}
BENCHMARK(filterPixels)
    ->ArgsProduct({ { 720, 1080, 2160 }, { 0, 1 } })
    ->ArgNames({ "height", "mirrored" })
    ->Unit(benchmark::kMillisecond);

/// When `hasCode`, with a code of a quarter of the height, away from the centre.
QImage frameToSearch(int height, bool hasCode)
{
    QImage frame = photograph(height);
    if (hasCode) {
        const QImage code = platform::QRCodeGenerator::outputImage("https://example.org/menu");
        const int side = height / 4;
        QPainter(&frame).drawImage(
            QRect(frame.width() / 5, height / 5, side, side), code.convertToFormat(frame.format()));
    }
    return frame;
}

void prepareAndDetect(benchmark::State& state)
{
    const bool hasCode = state.range(1) == 1;
    const QImage frame = frameToSearch(static_cast<int>(state.range(0)), hasCode);
    const auto filters = filterPair();
    const auto scan = std::make_shared<platform::LiveScan>();
    int found = 0;
    for ([[maybe_unused]] const auto _ : state) {
        platform::DetectBarcodesRequest request(nullptr);
        platform::ImageRequestHandler(vellumcap::preparedImage(frame, filters, false),
            { platform::ImageOrientation::Upright, scan })
            .perform(request);
        found += request.results().isEmpty() ? 0 : 1;
    }
    state.counters["found"]
        = benchmark::Counter(static_cast<double>(found), benchmark::Counter::kAvgIterations);
}
BENCHMARK(prepareAndDetect)
    ->ArgsProduct({ { 720, 1080, 2160 }, { 0, 1 } })
    ->ArgNames({ "height", "code" })
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
