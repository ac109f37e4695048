// The cost of searching a 1080p frame in a decoder process: searches the same frame in this process
// and in a decoder, alternately. The case wayAlone sends a picture of the same size in bytes that
// needs no search, so that only the cost of the transfer remains.

#include "platform/barcode/Detector.h"
#include "platform/barcode/QRCodeGenerator.h"
#include "platform/barcode/isolation/DecoderPool.h"

#include <QRandomGenerator>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr QSize frameSize(1920, 1080);
constexpr int moduleSide = 12; // pixels
constexpr int tooFlat = 7; // rows; fewer than any code has

QImage frameWithoutCode()
{
    QImage frame(frameSize, QImage::Format_Grayscale8);
    QRandomGenerator random(11);
    for (int y = 0; y < frame.height(); ++y) {
        uchar* line = frame.scanLine(y);
        for (int x = 0; x < frame.width(); ++x) {
            line[x] = static_cast<uchar>((x + y) / 12 + random.bounded(9));
        }
    }
    return frame;
}

QImage frameWithCode()
{
    QImage frame(frameSize, QImage::Format_Grayscale8);
    frame.fill(0xff);
    const QImage code = platform::QRCodeGenerator::outputImage("https://example.org/");
    for (int y = 0; y < code.height() * moduleSide; ++y) {
        for (int x = 0; x < code.width() * moduleSide; ++x) {
            frame.scanLine(y + 300)[x + 600] = code.constScanLine(y / moduleSide)[x / moduleSide];
        }
    }
    return frame;
}

QImage flatPicture()
{
    QImage picture(static_cast<int>(frameWithCode().sizeInBytes()) / tooFlat, tooFlat,
        QImage::Format_Grayscale8);
    picture.fill(0xff);
    return picture;
}

template <typename Detect> double microsecondsOf(const Detect& detect)
{
    const auto begin = Clock::now();
    benchmark::DoNotOptimize(detect());
    return Microseconds(Clock::now() - begin).count();
}

/// The lowest decile: the cost without interference by other processes.
double undisturbed(std::vector<double> values)
{
    const auto tenth = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 10);
    std::nth_element(values.begin(), tenth, values.end());
    return *tenth;
}

void hereAndThere(benchmark::State& state, const QImage& frame, bool isLive)
{
    auto& pool = platform::decoder::Pool::shared();
    quint64 number = 0;
    const auto next = [&] {
        return isLive ? std::optional(platform::LiveFrame{ number, {} }) : std::nullopt;
    };
    if (!pool.detect(frame, next())) {
        state.SkipWithError("no decoder");
        return;
    }
    std::vector<double> here;
    std::vector<double> there;
    for ([[maybe_unused]] const auto _ : state) {
        here.push_back(microsecondsOf([&] { return platform::detectCodes(frame, next()); }));
        there.push_back(microsecondsOf([&] { return pool.detect(frame, next()); }));
        ++number;
    }
    state.counters["here_us"] = undisturbed(here);
    state.counters["there_us"] = undisturbed(there);
    state.counters["difference_us"] = undisturbed(there) - undisturbed(here);
}

} // namespace

BENCHMARK_CAPTURE(hereAndThere, wayAlone, flatPicture(), true)->Iterations(2000);
BENCHMARK_CAPTURE(hereAndThere, withoutCode, frameWithoutCode(), true)->Iterations(100);
BENCHMARK_CAPTURE(hereAndThere, withQR, frameWithCode(), true)->Iterations(400);
BENCHMARK_CAPTURE(hereAndThere, stillWithoutCode, frameWithoutCode(), false)->Iterations(50);

BENCHMARK_MAIN();
