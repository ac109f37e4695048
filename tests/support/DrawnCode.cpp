#include "tests/support/DrawnCode.h"

#include "platform/barcode/QRCodeGenerator.h"

#include <QColor>
#include <QPainter>

#include <ZXing/BitMatrix.h>
#include <ZXing/CharacterSet.h>
#include <ZXing/MultiFormatWriter.h>
#include <numeric>
#include <stdexcept>
#include <string>

namespace support {
namespace {

constexpr int quietZone = 10; // modules; enough for every symbology
constexpr int barHeight = 40; // modules

ZXing::BarcodeFormat format(platform::Symbology symbology)
{
    using enum platform::Symbology;
    switch (symbology) {
    case Aztec:
        return ZXing::BarcodeFormat::Aztec;
    case Codabar:
        return ZXing::BarcodeFormat::Codabar;
    case Code39:
        return ZXing::BarcodeFormat::Code39;
    case Code93:
        return ZXing::BarcodeFormat::Code93;
    case Code128:
        return ZXing::BarcodeFormat::Code128;
    case DataMatrix:
        return ZXing::BarcodeFormat::DataMatrix;
    case Ean8:
        return ZXing::BarcodeFormat::EAN8;
    case Ean13:
        return ZXing::BarcodeFormat::EAN13;
    case Itf:
        return ZXing::BarcodeFormat::ITF;
    case Pdf417:
        return ZXing::BarcodeFormat::PDF417;
    case Qr:
        return ZXing::BarcodeFormat::QRCode;
    case UpcE:
        return ZXing::BarcodeFormat::UPCE;
    case DataBar:
    case DataBarExpanded:
    case MaxiCode:
        break;
    }
    return ZXing::BarcodeFormat::None;
}

bool isLinear(platform::Symbology symbology)
{
    using enum platform::Symbology;
    return symbology != Aztec && symbology != DataMatrix && symbology != Pdf417 && symbology != Qr;
}

QImage paper(int columns, int rows, int modulePixels)
{
    QImage picture((columns + 2 * quietZone) * modulePixels, (rows + 2 * quietZone) * modulePixels,
        QImage::Format_RGB32);
    picture.fill(Qt::white);
    return picture;
}

void scaleToModules(QPainter& painter, int modulePixels)
{
    painter.scale(modulePixels, modulePixels);
    painter.translate(quietZone, quietZone);
}

QImage drawn(const ZXing::BitMatrix& modules, int modulePixels, bool linear)
{
    const int rows = linear ? 1 : modules.height();
    const int rowHeight = linear ? barHeight : 1;
    QImage picture = paper(modules.width(), rows * rowHeight, modulePixels);
    QPainter painter(&picture);
    scaleToModules(painter, modulePixels);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < modules.width(); ++x) {
            if (modules.get(x, y)) {
                painter.fillRect(x, y, 1, rowHeight, Qt::black);
            }
        }
    }
    return picture;
}

// For bytes that are no characters of ISO 8859-1, which ZXing's writer refuses since version 2.
QImage drawnQRBytes(const QByteArray& bytes, int modulePixels)
{
    constexpr int border = 1;
    const QImage modules = platform::QRCodeGenerator::outputImage(bytes);
    if (modules.isNull()) {
        return {};
    }
    QImage picture
        = paper(modules.width() - 2 * border, modules.height() - 2 * border, modulePixels);
    QPainter painter(&picture);
    scaleToModules(painter, modulePixels);
    painter.drawImage(-border, -border, modules);
    return picture;
}

} // namespace

QImage drawnCode(platform::Symbology symbology, const QString& text, int modulePixels)
{
    return drawnCode(symbology, text.toUtf8(), modulePixels);
}

QImage drawnCode(platform::Symbology symbology, const QByteArray& bytes, int modulePixels)
{
    // The writer encodes each of these characters as one byte. Without a given character set it
    // declares none.
    const std::wstring characters = QString::fromLatin1(bytes).toStdWString();
    try {
        const ZXing::BitMatrix modules
            = ZXing::MultiFormatWriter(format(symbology)).setMargin(0).encode(characters, 0, 0);
        return drawn(modules, modulePixels, isLinear(symbology));
    } catch (const std::exception&) {
        return symbology == platform::Symbology::Qr ? drawnQRBytes(bytes, modulePixels) : QImage();
    }
}

QImage drawnQRCode(const QString& text, const QByteArray& characterSet, int modulePixels)
{
    const ZXing::BitMatrix modules
        = ZXing::MultiFormatWriter(ZXing::BarcodeFormat::QRCode)
              .setEncoding(ZXing::CharacterSetFromString(characterSet.toStdString()))
              .setMargin(0)
              .encode(text.toStdWString(), 0, 0);
    return drawn(modules, modulePixels, false);
}

QImage drawnBars(const QByteArray& widths, int modulePixels)
{
    const auto width = [](char digit) { return digit - '0'; };
    const int columns = std::accumulate(widths.begin(), widths.end(), 0,
        [&width](int sum, char digit) { return sum + width(digit); });
    QImage picture = paper(columns, barHeight, modulePixels);
    QPainter painter(&picture);
    scaleToModules(painter, modulePixels);
    int x = 0;
    bool isBar = false;
    for (const char digit : widths) {
        if (isBar) {
            painter.fillRect(x, 0, width(digit), barHeight, Qt::black);
        }
        x += width(digit);
        isBar = !isBar;
    }
    return picture;
}

} // namespace support
