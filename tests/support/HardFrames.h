#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <random>

namespace support {

/// A camera picture without a code. Dusk: shapes and much noise.
enum class Ground { Plain, Clouds, Text, Shapes, Dusk };

/// A code held in front of a camera, with what makes it hard to read.
struct HardCode {
    platform::Symbology symbology = platform::Symbology::Qr;
    double height = 0.25; ///< without quiet zone, as a fraction of the frame's height
    double blur = 0; ///< standard deviation in pixels
    double noise = 0; ///< standard deviation in levels of grey
    bool isTurned = false; ///< by a random angle
    bool isSlanted = false; ///< seen from the side
    bool isMirrored = false;
    bool isInverted = false;
};

/// Successive frames of one scene; the code moves a little between them.
struct HardScene {
    QList<QImage> frames; ///< of Format_Grayscale8
    QString text;
};

/// Generates camera frames; the same seed gives the same frames.
class HardFrames {
public:
    explicit HardFrames(quint32 seed)
        : m_random(seed)
    {
    }

    QImage ground(QSize size, Ground kind);
    /// The code is anywhere in the frame, on any ground but Dusk.
    HardScene scene(QSize size, const HardCode& code, int frames);

private:
    double between(double least, double most);
    int below(int bound);
    double normal();
    QString textFor(platform::Symbology symbology);
    QImage clouds(QSize size);
    void write(QImage& page);
    void scatter(QImage& picture);
    void addNoise(QImage& picture, double deviation);

    std::mt19937 m_random;
};

} // namespace support
