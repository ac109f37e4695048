// Measures the time from a text to the picture of its code, compared with the lower bounds: filling
// the same picture, and libqrencode's time for the same code.

#include "imaging/CodeBitmap.h"
#include "platform/barcode/QRCodeGenerator.h"

#include <qrencode.h>

#include <benchmark/benchmark.h>

namespace {

QByteArray address(qint64 bytes)
{
    QByteArray text = "https://example.org/";
    while (text.size() < bytes) {
        text.append("shelf-12/Item_").append(QByteArray::number(text.size() * 7919));
    }
    return text.left(bytes);
}

void textToPicture(benchmark::State& state)
{
    const QByteArray text = address(state.range(0));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(
            vellumcap::codeBitmap(platform::QRCodeGenerator::outputImage(text)));
    }
}

void modulesToPicture(benchmark::State& state)
{
    const QImage modules = platform::QRCodeGenerator::outputImage(address(state.range(0)));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(vellumcap::codeBitmap(modules));
    }
}

void plainFill(benchmark::State& state)
{
    const QSize size
        = vellumcap::codeBitmap(platform::QRCodeGenerator::outputImage(address(state.range(0))))
              .size();
    for ([[maybe_unused]] const auto _ : state) {
        QImage picture(size, QImage::Format_Grayscale8);
        picture.fill(0xff);
        benchmark::DoNotOptimize(picture);
    }
}

void libqrencodeAlone(benchmark::State& state)
{
    const QByteArray text = address(state.range(0));
    for ([[maybe_unused]] const auto _ : state) {
        QRcode* code = QRcode_encodeString(text.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1);
        benchmark::DoNotOptimize(code);
        QRcode_free(code);
    }
}

} // namespace

BENCHMARK(textToPicture)->Arg(20)->Arg(300)->Arg(2000)->Unit(benchmark::kMicrosecond);
BENCHMARK(modulesToPicture)->Arg(20)->Arg(300)->Arg(2000)->Unit(benchmark::kMicrosecond);
BENCHMARK(plainFill)->Arg(20)->Arg(300)->Arg(2000)->Unit(benchmark::kMicrosecond);
BENCHMARK(libqrencodeAlone)->Arg(20)->Arg(300)->Arg(2000)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
