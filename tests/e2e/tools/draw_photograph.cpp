#include "tests/support/DrawnCode.h"

#include <QGuiApplication>
#include <QPainter>
#include <QRandomGenerator>

namespace {

constexpr QSize photographSize(1280, 960);

QImage tableTop()
{
    QImage picture(photographSize, QImage::Format_RGB32);
    QLinearGradient light(0, 0, photographSize.width(), photographSize.height());
    light.setColorAt(0, QColor(196, 164, 124));
    light.setColorAt(1, QColor(104, 80, 58));
    QPainter(&picture).fillRect(picture.rect(), light);
    return picture;
}

/// Draws the code on a card that is slightly rotated and sheared.
void layCard(QImage& picture, const QImage& code)
{
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.translate(QRectF(picture.rect()).center());
    painter.rotate(-7);
    painter.shear(0.05, 0.02);
    const QRect card(-270, -330, 540, 660);
    painter.fillRect(card.translated(10, 14), QColor(0, 0, 0, 70));
    painter.fillRect(card, QColor(250, 247, 240));
    painter.setCompositionMode(QPainter::CompositionMode_Multiply); // printed on the card
    painter.drawImage(QRect(-265, -265, 530, 530), code);
}

/// Blurs the picture: scales it to a third and back.
QImage outOfFocus(const QImage& picture)
{
    return picture.scaled(photographSize / 3, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(photographSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// Adds noise with a fixed seed, so that each run gets the same photograph.
void addNoise(QImage& picture)
{
    QRandomGenerator random(1);
    for (int y = 0; y < picture.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int noise = random.bounded(-18, 19);
            const auto noisy = [noise](int level) { return qBound(0, level + noise, 255); };
            line[x] = qRgb(noisy(qRed(line[x])), noisy(qGreen(line[x])), noisy(qBlue(line[x])));
        }
    }
}

} // namespace

/// draw_photograph TEXT FILE: draws a QR code for the text as a camera would see it.
int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 3) {
        qCritical("Usage: draw_photograph TEXT FILE");
        return EXIT_FAILURE;
    }
    const QImage code = support::drawnCode(platform::Symbology::Qr, arguments.at(1), 8);
    if (code.isNull()) {
        qCritical("No QR code can hold the text");
        return EXIT_FAILURE;
    }
    QImage photograph = tableTop();
    layCard(photograph, code);
    photograph = outOfFocus(photograph);
    addNoise(photograph);
    return photograph.save(arguments.at(2), nullptr, 85) ? EXIT_SUCCESS : EXIT_FAILURE;
}
