#include "tests/support/HardFrames.h"

#include "tests/support/DrawnCode.h"

#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

namespace support {
namespace {

constexpr int modulePixels = 8;
constexpr int quietZone = 10; // modules, as in drawnCode()
constexpr double sensorNoise = 3; // levels of grey, in every frame
constexpr double duskNoise = 25;

uchar toByte(double value)
{
    return static_cast<uchar>(std::clamp(value, 0.0, 255.0));
}

std::vector<double> bell(double deviation)
{
    const int radius = static_cast<int>(std::ceil(2.5 * deviation));
    std::vector<double> weights;
    double sum = 0;
    for (int i = -radius; i <= radius; ++i) {
        weights.push_back(std::exp(-i * i / (2 * deviation * deviation)));
        sum += weights.back();
    }
    for (double& weight : weights) {
        weight /= sum;
    }
    return weights;
}

// A Gaussian blur, first in one direction, then in the other.
QImage blurred(const QImage& from, double deviation)
{
    if (deviation <= 0) {
        return from;
    }
    const std::vector<double> weights = bell(deviation);
    const int radius = static_cast<int>(weights.size()) / 2;
    QImage across(from.size(), QImage::Format_Grayscale8);
    QImage result(from.size(), QImage::Format_Grayscale8);
    for (int y = 0; y < from.height(); ++y) {
        const uchar* row = from.constScanLine(y);
        uchar* out = across.scanLine(y);
        for (int x = 0; x < from.width(); ++x) {
            double sum = 0;
            for (int i = -radius; i <= radius; ++i) {
                sum += weights[static_cast<std::size_t>(i) + static_cast<std::size_t>(radius)]
                    * row[std::clamp(x + i, 0, from.width() - 1)];
            }
            out[x] = toByte(sum + 0.5);
        }
    }
    std::vector<double> sums(static_cast<std::size_t>(from.width()));
    for (int y = 0; y < from.height(); ++y) {
        std::fill(sums.begin(), sums.end(), 0.5);
        for (int i = -radius; i <= radius; ++i) {
            const uchar* row = across.constScanLine(std::clamp(y + i, 0, from.height() - 1));
            for (std::size_t x = 0; x < sums.size(); ++x) {
                sums[x] += weights[static_cast<std::size_t>(i) + static_cast<std::size_t>(radius)]
                    * row[x];
            }
        }
        std::transform(sums.begin(), sums.end(), result.scanLine(y), toByte);
    }
    return result;
}

QPolygonF cornersOf(QSizeF size)
{
    return QPolygonF{ QPointF(0, 0), QPointF(size.width(), 0), QPointF(size.width(), size.height()),
        QPointF(0, size.height()) };
}

} // namespace

double HardFrames::between(double least, double most)
{
    return least
        + (most - least) * static_cast<double>(m_random())
        / static_cast<double>(std::mt19937::max());
}

int HardFrames::below(int bound)
{
    return static_cast<int>(m_random() % static_cast<std::mt19937::result_type>(bound));
}

// Irwin-Hall: the sum of twelve uniform values approximates a normal distribution.
double HardFrames::normal()
{
    double sum = -6;
    for (int i = 0; i < 12; ++i) {
        sum += between(0, 1);
    }
    return sum;
}

QString HardFrames::textFor(platform::Symbology symbology)
{
    if (symbology == platform::Symbology::Ean13) {
        QString digits;
        int sum = 0;
        for (int i = 0; i < 12; ++i) {
            const int digit = below(10);
            sum += digit * (i % 2 == 0 ? 1 : 3);
            digits += QString::number(digit);
        }
        return digits + QString::number((10 - sum % 10) % 10);
    }
    QString text = u"https://example.org/"_s;
    for (int i = 0; i < 8; ++i) {
        text += QChar(u'a' + below(26));
    }
    return symbology == platform::Symbology::Code128 ? text.mid(20) : text;
}

// Noise whose amplitude falls with its frequency, as in photographs of nature.
QImage HardFrames::clouds(QSize size)
{
    std::vector<double> values(
        static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()), 128);
    double strength = 60;
    for (int cell = size.height() / 2; cell >= 2; cell /= 2) {
        const int columns = size.width() / cell + 2;
        std::vector<double> knots(
            static_cast<std::size_t>(columns) * static_cast<std::size_t>(size.height() / cell + 2));
        for (double& knot : knots) {
            knot = between(-strength, strength);
        }
        std::size_t i = 0;
        for (int y = 0; y < size.height(); ++y) {
            const double down = static_cast<double>(y % cell) / cell;
            const double* above
                = &knots[static_cast<std::size_t>(y / cell) * static_cast<std::size_t>(columns)];
            for (int x = 0; x < size.width(); ++x) {
                const double right = static_cast<double>(x % cell) / cell;
                const double* knot = above + x / cell;
                values[i++] += (knot[0] * (1 - right) + knot[1] * right) * (1 - down)
                    + (knot[columns] * (1 - right) + knot[columns + 1] * right) * down;
            }
        }
        strength *= 0.72;
    }
    QImage picture(size, QImage::Format_Grayscale8);
    for (int y = 0; y < size.height(); ++y) {
        const double* row
            = &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width())];
        std::transform(row, row + size.width(), picture.scanLine(y), toByte);
    }
    return picture;
}

// A printed page: lines of strokes as thick and as dense as letters.
void HardFrames::write(QImage& page)
{
    QPainter painter(&page);
    const int letter = std::max(8, page.height() / 45);
    painter.setPen(QPen(QColor(50, 50, 50), letter / 7.0));
    for (int y = letter; y < page.height() - letter; y += 2 * letter) {
        for (int x = letter; x < page.width() - letter; x += letter * 3 / 4) {
            for (int stroke = below(7) == 0 ? 4 : 0; stroke < 3; ++stroke) {
                painter.drawLine(QPointF(x + between(0, letter / 2.0), y + between(0, letter)),
                    QPointF(x + between(0, letter / 2.0), y + between(0, letter)));
            }
        }
    }
}

// Shapes like objects on a desk.
void HardFrames::scatter(QImage& picture)
{
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 150; ++i) {
        const double side = between(0.02, 0.25) * picture.height();
        const int grey = below(256);
        painter.save();
        painter.translate(between(0, picture.width()), between(0, picture.height()));
        painter.rotate(between(0, 360));
        painter.setBrush(QColor(grey, grey, grey));
        const QRectF box(0, 0, side, side * between(0.1, 1));
        if (i % 3 == 0) {
            painter.drawEllipse(box);
        } else {
            painter.drawRect(box);
        }
        painter.restore();
    }
}

void HardFrames::addNoise(QImage& picture, double deviation)
{
    // A table of random values is fast enough for frames.
    std::vector<double> table(4096);
    for (double& value : table) {
        value = deviation * normal();
    }
    for (int y = 0; y < picture.height(); ++y) {
        uchar* row = picture.scanLine(y);
        for (int x = 0; x < picture.width(); ++x) {
            row[x] = toByte(row[x] + table[m_random() % table.size()] + 0.5);
        }
    }
}

QImage HardFrames::ground(QSize size, Ground kind)
{
    QImage picture(size, QImage::Format_Grayscale8);
    picture.fill(200);
    switch (kind) {
    case Ground::Plain:
        break;
    case Ground::Clouds:
        picture = clouds(size);
        break;
    case Ground::Text:
        write(picture);
        break;
    case Ground::Shapes:
    case Ground::Dusk:
        scatter(picture);
        break;
    }
    addNoise(picture, kind == Ground::Dusk ? duskNoise : sensorNoise);
    return picture;
}

HardScene HardFrames::scene(QSize size, const HardCode& code, int frames)
{
    HardScene scene;
    scene.text = textFor(code.symbology);
    QImage label = drawnCode(code.symbology, scene.text, modulePixels);
    if (code.isInverted) {
        label.invertPixels();
    }
    const QImage back = ground(size, Ground(below(4)));
    const double height = code.height * size.height() * label.height()
        / static_cast<double>(label.height() - 2 * quietZone * modulePixels);
    const double width = height * label.width() / label.height();
    QPolygonF corners = cornersOf({ width, height });
    if (code.isSlanted) {
        for (QPointF& corner : corners) {
            corner += QPointF(between(-0.12, 0.12) * height, between(-0.12, 0.12) * height);
        }
    }
    corners.translate(-width / 2, -height / 2);
    corners = QTransform().rotate(code.isTurned ? between(0, 360) : between(-3, 3)).map(corners);
    const QRectF box = corners.boundingRect();
    const QPointF at(between(-box.left(), size.width() - box.right()),
        between(-box.top(), size.height() - box.bottom()));
    for (int i = 0; i < frames; ++i) {
        const QPointF tremor(between(-3, 3), between(-3, 3));
        QTransform place;
        QTransform::quadToQuad(cornersOf(label.size()), corners.translated(at + tremor), place);
        QImage frame = back.copy();
        QPainter painter(&frame);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.setTransform(place);
        painter.setOpacity(0.8); // light is neither black nor white
        painter.drawImage(0, 0, label);
        painter.end();
        frame = blurred(frame, code.blur);
        addNoise(frame, std::hypot(sensorNoise, code.noise));
        scene.frames.append(code.isMirrored ? frame.mirrored(true, false) : frame);
    }
    return scene;
}

} // namespace support
