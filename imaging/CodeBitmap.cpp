#include "imaging/CodeBitmap.h"

#include "imaging/CodeSize.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace vellumcap {

namespace {

/// The first pixel of each module, and the end of the last.
std::vector<int> edges(int modules, int pixels, double scale)
{
    std::vector<int> found;
    found.reserve(static_cast<size_t>(modules) + 1);
    for (int module = 0; module < modules; ++module) {
        found.push_back(std::min(pixels, static_cast<int>(std::ceil(module * scale - 0.5))));
    }
    found.push_back(pixels);
    return found;
}

/// Bytes per write: most modules are narrower, and the next module overwrites the excess.
constexpr size_t stride = 8;

/// `line` has room for `stride` pixels after its end.
void stretch(const uchar* modules, const std::vector<int>& columns, uchar* line)
{
    for (size_t module = 0; module + 1 < columns.size(); ++module) {
        const auto end = static_cast<size_t>(columns[module + 1]);
        for (auto x = static_cast<size_t>(columns[module]); x < end; x += stride) {
            std::memset(line + x, modules[module], stride);
        }
    }
}

} // namespace

QImage codeBitmap(const QImage& modules)
{
    Q_ASSERT(modules.isNull() || modules.format() == QImage::Format_Grayscale8);
    const CodeSize size = codeSize(modules.size());
    QImage bitmap(size.bitmap, QImage::Format_Grayscale8);
    if (bitmap.isNull()) {
        return {};
    }
    const std::vector<int> columns = edges(modules.width(), bitmap.width(), size.scale);
    const std::vector<int> rows = edges(modules.height(), bitmap.height(), size.scale);
    const auto width = static_cast<size_t>(bitmap.width());
    std::vector<uchar> line(width + stride);
    uchar* target = bitmap.bits();
    for (int y = 0; y < modules.height(); ++y) {
        stretch(modules.constScanLine(y), columns, line.data());
        for (int row = rows[static_cast<size_t>(y)]; row < rows[static_cast<size_t>(y) + 1];
             ++row) {
            std::memcpy(target, line.data(), width);
            target += bitmap.bytesPerLine();
        }
    }
    return bitmap;
}

} // namespace vellumcap
