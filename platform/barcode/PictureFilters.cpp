#include "platform/barcode/PictureFilters.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace platform::PictureFilters {
namespace {

// Positions and weights of linear interpolation are in 1/256 of a pixel.
constexpr int one = 256;

struct Step {
    int first = 0;
    int second = 0; ///< the next pixel, or the first one again at the border
    int weight = 0; ///< of the second
};

std::vector<Step> steps(int from, int to)
{
    std::vector<Step> result(static_cast<std::size_t>(to));
    for (int i = 0; i < to; ++i) {
        // Maps pixel centres to pixel centres.
        const qint64 position = ((2 * i + 1) * static_cast<qint64>(from) * one / to - one) / 2;
        const qint64 last = static_cast<qint64>(from - 1) * one;
        const int clamped = static_cast<int>(std::clamp<qint64>(position, 0, last));
        const int first = clamped / one;
        result[static_cast<std::size_t>(i)]
            = { first, std::min(first + 1, from - 1), clamped % one };
    }
    return result;
}

int between(int first, int second, int weight)
{
    return first * (one - weight) + second * weight;
}

uchar clampedToByte(int value)
{
    return static_cast<uchar>(std::clamp(value, 0, 255));
}

// Fills `sums` with the sums of the rows above, at and below y, with the weights 1-2-1. Border rows
// are repeated.
void sumRows(const PictureView& from, int y, std::vector<int>& sums)
{
    const uchar* above = from.row(std::max(0, y - 1));
    const uchar* here = from.row(y);
    const uchar* below = from.row(std::min(from.height - 1, y + 1));
    for (int x = 0; x < from.width; ++x) {
        sums[static_cast<std::size_t>(x) + 1] = above[x] + 2 * here[x] + below[x];
    }
    sums.front() = sums[1];
    sums.back() = sums[static_cast<std::size_t>(from.width)];
}

// make: uchar(uchar pixel, int sum), where sum is 16 times the mean of the neighbourhood.
template <typename Make>
void fromNeighbourhoods(const PictureView& from, PictureBuffer& to, Make make)
{
    to.resize(from.width, from.height);
    if (from.isEmpty()) {
        return;
    }
    std::vector<int> sums(static_cast<std::size_t>(from.width) + 2);
    for (int y = 0; y < from.height; ++y) {
        sumRows(from, y, sums);
        const uchar* here = from.row(y);
        const int* sum = sums.data();
        uchar* out = to.row(y);
        for (int x = 0; x < from.width; ++x) {
            out[x] = make(here[x], sum[x] + 2 * sum[x + 1] + sum[x + 2]);
        }
    }
}

// shrink() by 2, in a form that compilers vectorise: it is applied to every frame of a camera.
void halve(const PictureView& from, PictureBuffer& to)
{
    to.resize(from.width / 2, from.height / 2);
    for (int y = 0; y < from.height / 2; ++y) {
        const uchar* above = from.row(2 * y);
        const uchar* below = from.row(2 * y + 1);
        uchar* out = to.row(y);
        for (int x = 0; x < from.width / 2; ++x) {
            out[x] = static_cast<uchar>(
                (above[2 * x] + above[2 * x + 1] + below[2 * x] + below[2 * x + 1]) / 4);
        }
    }
}

constexpr int tiles = 8; // in each direction
constexpr int levels = 256;
constexpr int clipLimit = 3; // in means of the histogram
using Histogram = std::array<int, levels>;
using Curve = std::array<uchar, levels>;

Histogram histogramOf(const PictureView& tile)
{
    Histogram histogram{};
    for (int y = 0; y < tile.height; ++y) {
        const uchar* row = tile.row(y);
        for (int x = 0; x < tile.width; ++x) {
            ++histogram[row[x]];
        }
    }
    return histogram;
}

Curve curveOf(const PictureView& tile)
{
    Histogram histogram = histogramOf(tile);
    const int area = tile.width * tile.height;
    const int limit = std::max(1, clipLimit * area / levels);
    int excess = 0;
    for (int& count : histogram) {
        excess += std::max(0, count - limit);
        count = std::min(count, limit);
    }
    Curve curve{};
    qint64 sum = 0;
    for (int level = 0; level < levels; ++level) {
        sum += histogram[static_cast<std::size_t>(level)];
        const qint64 spread = static_cast<qint64>(excess) * (level + 1) / levels;
        curve[static_cast<std::size_t>(level)]
            = clampedToByte(static_cast<int>((sum + spread) * 255 / area));
    }
    return curve;
}

// The first pixel of tile i along a side.
int tileBegin(int i, int side)
{
    return static_cast<int>(static_cast<qint64>(i) * side / tiles);
}

} // namespace

void shrink(const PictureView& from, int factor, PictureBuffer& to)
{
    if (factor == 2) {
        halve(from, to);
        return;
    }
    const int width = from.width / factor;
    to.resize(width, from.height / factor);
    std::vector<int> sums(static_cast<std::size_t>(width) * static_cast<std::size_t>(factor));
    for (int y = 0; y < from.height / factor; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        for (int line = 0; line < factor; ++line) {
            const uchar* row = from.row(y * factor + line);
            for (std::size_t x = 0; x < sums.size(); ++x) {
                sums[x] += row[x];
            }
        }
        const int* sum = sums.data();
        uchar* out = to.row(y);
        const int area = factor * factor;
        for (int x = 0; x < width; ++x) {
            int total = 0;
            for (int column = 0; column < factor; ++column) {
                total += *sum++;
            }
            out[x] = static_cast<uchar>(total / area);
        }
    }
}

void resample(const PictureView& from, QSize size, PictureBuffer& to)
{
    to.resize(size.width(), size.height());
    if (from.isEmpty() || size.isEmpty()) {
        return;
    }
    const std::vector<Step> columns = steps(from.width, size.width());
    const std::vector<Step> rows = steps(from.height, size.height());
    std::vector<int> line(static_cast<std::size_t>(from.width));
    for (int y = 0; y < size.height(); ++y) {
        const Step& vertical = rows[static_cast<std::size_t>(y)];
        const uchar* first = from.row(vertical.first);
        const uchar* second = from.row(vertical.second);
        for (int x = 0; x < from.width; ++x) {
            line[static_cast<std::size_t>(x)] = between(first[x], second[x], vertical.weight);
        }
        uchar* out = to.row(y);
        for (const Step& step : columns) {
            *out++
                = static_cast<uchar>(between(line[static_cast<std::size_t>(step.first)],
                                         line[static_cast<std::size_t>(step.second)], step.weight)
                    / (one * one));
        }
    }
}

void invert(const PictureView& from, PictureBuffer& to)
{
    to.resize(from.width, from.height);
    for (int y = 0; y < from.height; ++y) {
        const uchar* row = from.row(y);
        std::transform(row, row + from.width, to.row(y),
            [](uchar pixel) { return static_cast<uchar>(~pixel); });
    }
}

void blur(const PictureView& from, PictureBuffer& to)
{
    fromNeighbourhoods(
        from, to, [](uchar /*pixel*/, int sum) { return static_cast<uchar>(sum / 16); });
}

void sharpen(const PictureView& from, int quarters, PictureBuffer& to)
{
    fromNeighbourhoods(from, to, [quarters](uchar pixel, int sum) {
        return clampedToByte(pixel + (16 * pixel - sum) * quarters / 64);
    });
}

void average(const PictureView& from, int radius, PictureBuffer& to)
{
    to.resize(from.width, from.height);
    if (from.isEmpty()) {
        return;
    }
    // For each column the sum of the rows around y, updated row by row.
    std::vector<int> columns(static_cast<std::size_t>(from.width), 0);
    const auto addRow = [&](int y, int sign) {
        const uchar* row = from.row(y);
        for (int x = 0; x < from.width; ++x) {
            columns[static_cast<std::size_t>(x)] += sign * row[x];
        }
    };
    for (int y = 0; y < std::min(radius, from.height); ++y) {
        addRow(y, 1);
    }
    for (int y = 0; y < from.height; ++y) {
        if (y + radius < from.height) {
            addRow(y + radius, 1);
        }
        if (y - radius > 0) {
            addRow(y - radius - 1, -1);
        }
        const int height = std::min(from.height - 1, y + radius) - std::max(0, y - radius) + 1;
        const int* column = columns.data();
        qint64 sum = 0;
        for (int x = 0; x < std::min(radius, from.width); ++x) {
            sum += column[x];
        }
        uchar* out = to.row(y);
        for (int x = 0; x < from.width; ++x) {
            sum += x + radius < from.width ? column[x + radius] : 0;
            sum -= x > radius ? column[x - radius - 1] : 0;
            const int width = std::min(from.width - 1, x + radius) - std::max(0, x - radius) + 1;
            out[x] = static_cast<uchar>(sum / (width * height));
        }
    }
}

void equalise(const PictureView& from, PictureBuffer& to)
{
    to.resize(from.width, from.height);
    if (std::min(from.width, from.height) < 2 * tiles) {
        for (int y = 0; y < from.height; ++y) {
            std::copy_n(from.row(y), from.width, to.row(y));
        }
        return;
    }
    std::array<std::array<Curve, tiles>, tiles> curves;
    for (int j = 0; j < tiles; ++j) {
        for (int i = 0; i < tiles; ++i) {
            const QPoint begin(tileBegin(i, from.width), tileBegin(j, from.height));
            const QPoint end(tileBegin(i + 1, from.width), tileBegin(j + 1, from.height));
            curves[static_cast<std::size_t>(j)][static_cast<std::size_t>(i)]
                = curveOf(from.cropped(QRect(begin, end - QPoint(1, 1))));
        }
    }
    // A pixel lies between the centres of four tiles, which steps() finds.
    const std::vector<Step> columns = steps(tiles, from.width);
    const std::vector<Step> rows = steps(tiles, from.height);
    for (int y = 0; y < from.height; ++y) {
        const Step& vertical = rows[static_cast<std::size_t>(y)];
        const auto& above = curves[static_cast<std::size_t>(vertical.first)];
        const auto& below = curves[static_cast<std::size_t>(vertical.second)];
        const uchar* row = from.row(y);
        uchar* out = to.row(y);
        for (int x = 0; x < from.width; ++x) {
            const Step& step = columns[static_cast<std::size_t>(x)];
            const auto first = static_cast<std::size_t>(step.first);
            const auto second = static_cast<std::size_t>(step.second);
            const uchar level = row[x];
            const int up = between(above[first][level], above[second][level], step.weight);
            const int down = between(below[first][level], below[second][level], step.weight);
            out[x] = static_cast<uchar>(between(up, down, vertical.weight) / (one * one));
        }
    }
}

void repeatPixels(const PictureView& from, int times, PictureBuffer& to)
{
    to.resize(from.width * times, from.height * times);
    for (int y = 0; y < from.height * times; ++y) {
        const uchar* row = from.row(y / times);
        uchar* out = to.row(y);
        for (int x = 0; x < from.width; ++x) {
            out = std::fill_n(out, times, row[x]);
        }
    }
}

void findEdges(const PictureView& from, PictureBuffer& to)
{
    to.resize(from.width, from.height);
    for (int y = 0; y < from.height; ++y) {
        const uchar* above = from.row(std::max(0, y - 1));
        const uchar* here = from.row(y);
        const uchar* below = from.row(std::min(from.height - 1, y + 1));
        uchar* out = to.row(y);
        for (int x = 0; x < from.width; ++x) {
            const int left = here[std::max(0, x - 1)];
            const int right = here[std::min(from.width - 1, x + 1)];
            out[x] = clampedToByte(std::abs(right - left) + std::abs(below[x] - above[x]));
        }
    }
}

void frame(const PictureView& from, int margin, PictureBuffer& to)
{
    constexpr uchar white = 255;
    to.resize(from.width + 2 * margin, from.height + 2 * margin);
    const PictureView whole = to.view();
    for (int y = 0; y < whole.height; ++y) {
        std::fill_n(to.row(y), whole.width, white);
        if (y >= margin && y < margin + from.height) {
            std::copy_n(from.row(y - margin), from.width, to.row(y) + margin);
        }
    }
}

void mirror(const PictureView& from, PictureBuffer& to)
{
    to.resize(from.width, from.height);
    for (int y = 0; y < from.height; ++y) {
        std::reverse_copy(from.row(y), from.row(y) + from.width, to.row(y));
    }
}

void warp(const PictureView& from, const QTransform& toSource, QSize size, PictureBuffer& to)
{
    to.resize(size.width(), size.height());
    if (from.isEmpty()) {
        return;
    }
    for (int y = 0; y < size.height(); ++y) {
        uchar* out = to.row(y);
        for (int x = 0; x < size.width(); ++x) {
            const QPointF source = toSource.map(QPointF(x + 0.5, y + 0.5)) - QPointF(0.5, 0.5);
            const double left = std::clamp(source.x(), 0.0, static_cast<double>(from.width - 1));
            const double top = std::clamp(source.y(), 0.0, static_cast<double>(from.height - 1));
            const int x0 = static_cast<int>(left);
            const int y0 = static_cast<int>(top);
            const int x1 = std::min(x0 + 1, from.width - 1);
            const int right = static_cast<int>((left - x0) * one);
            const int down = static_cast<int>((top - y0) * one);
            const uchar* above = from.row(y0);
            const uchar* below = from.row(std::min(y0 + 1, from.height - 1));
            out[x] = static_cast<uchar>(between(between(above[x0], above[x1], right),
                                            between(below[x0], below[x1], right), down)
                / (one * one));
        }
    }
}

} // namespace platform::PictureFilters
