// What it costs to make a camera's frame ready for the search for codes.

#include "platform/graphics/BitmapPool.h"
#include "platform/graphics/ImageFilter.h"

#include <QImage>

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
            const int grain = int(state >> 28);
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
    const QImage frame = photograph(int(state.range(0)));
    for (auto _ : state) {
        QImage copy = platform::pooledBitmap(frame.size());
        std::memcpy(copy.bits(), frame.constBits(), static_cast<std::size_t>(frame.sizeInBytes()));
        benchmark::DoNotOptimize(copy.constBits());
    }
}
BENCHMARK(copyPixels)->Arg(720)->Arg(1080)->Arg(2160)->Unit(benchmark::kMillisecond);

void filterPixels(benchmark::State& state)
{
    const QImage frame = photograph(int(state.range(0)));
    const auto filters = filterPair();
    const auto mirroring
        = state.range(1) == 1 ? platform::Mirroring::LeftRight : platform::Mirroring::Off;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::filtered(frame, filters, mirroring).constBits());
    }
}
BENCHMARK(filterPixels)
    ->ArgsProduct({ { 720, 1080, 2160 }, { 0, 1 } })
    ->ArgNames({ "height", "mirrored" })
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
