#pragma once

#include "platform/barcode/Detector.h"

#include <QByteArrayView>
#include <QImage>

#include <algorithm>
#include <optional>

namespace fuzz {

/// The input of the detector, made from a fuzzer's bytes (corpus/picture has files of this form):
/// - the width in modules, at least 1;
/// - bits 0 and 1: the side of a module in pixels, minus one; bits 3 to 5: how many times a row is
///   drawn, minus one;
/// - 0 for a still picture, else a live frame's number plus one;
/// - the brightness of each module, row by row; the last row is filled with white.
struct Picture {
    QImage grey;
    std::optional<platform::LiveFrame> frame;
};

inline Picture pictureOf(QByteArrayView bytes)
{
    constexpr qsizetype headerSize = 3;
    constexpr int largestHeight = 400; // pixels
    if (bytes.size() < headerSize) {
        return {};
    }
    const int width = std::max<int>(1, static_cast<uchar>(bytes[0]));
    const int side = (static_cast<uchar>(bytes[1]) & 3) + 1;
    const int repetitions = (static_cast<uchar>(bytes[1]) >> 3 & 7) + 1;
    const int number = static_cast<uchar>(bytes[2]);
    const QByteArrayView modules = bytes.sliced(headerSize);
    const int rowHeight = side * repetitions;
    const auto rows
        = std::min<qsizetype>((modules.size() + width - 1) / width, largestHeight / rowHeight);
    QImage grey(width * side, static_cast<int>(rows) * rowHeight, QImage::Format_Grayscale8);
    grey.fill(0xff);
    for (int y = 0; y < grey.height(); ++y) {
        const qsizetype row = y / rowHeight;
        uchar* line = grey.scanLine(y);
        for (int x = 0; x < grey.width(); ++x) {
            const qsizetype module = row * width + x / side;
            line[x] = module < modules.size() ? static_cast<uchar>(modules[module]) : uchar{ 0xff };
        }
    }
    return { grey,
        number == 0 ? std::nullopt
                    : std::optional(platform::LiveFrame{ static_cast<quint64>(number - 1), {} }) };
}

} // namespace fuzz
