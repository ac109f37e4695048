#pragma once

#include <QByteArray>
#include <QImage>

namespace support {

/// Pictures of one colour, and of noise that does not compress.
QImage plainPicture(QSize size, QColor color);
QImage noisePicture(QSize size);
QByteArray encoded(const QImage& image, const char* format);
/// A small PNG file whose picture, of 20000 x 20000 pixels, is too large to be read.
QByteArray tooLargePng();
/// A JPEG file whose metadata ask for a quarter turn to the right.
QByteArray turnedJpeg(const QImage& image);
/// Two frames of 2 x 2 pixels: red, then blue.
QByteArray animatedGif();

/// Creates the folder if needed. Ends the process on failure.
void writeFile(const QString& path, const QByteArray& content);

} // namespace support
