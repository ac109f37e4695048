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
    found.reserve(size_t(modules) + 1);
    for (int module = 0; module < modules; ++module) {
        found.push_back(std::min(pixels, int(std::ceil(module * scale - 0.5))));
    }
    found.push_back(pixels);
    return found;
}

void stretch(const uchar* modules, const std::vector<int>& columns, uchar* line)
{
    for (size_t module = 0; module + 1 < columns.size(); ++module) {
        std::memset(
            line + columns[module], modules[module], size_t(columns[module + 1] - columns[module]));
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
    for (int y = 0; y < modules.height(); ++y) {
        const int first = rows[size_t(y)];
        const int end = rows[size_t(y) + 1];
        if (first == end) {
            continue; // more modules than pixels
        }
        stretch(modules.constScanLine(y), columns, bitmap.scanLine(first));
        for (int row = first + 1; row < end; ++row) {
            std::memcpy(bitmap.scanLine(row), bitmap.constScanLine(first), size_t(bitmap.width()));
        }
    }
    return bitmap;
}

} // namespace vellumcap
