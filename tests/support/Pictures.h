#pragma once

#include <QByteArray>
#include <QImage>

namespace support {

/// Pictures for tests: of one colour, of noise that does not compress, and special files.
QImage plainPicture(QSize size, QColor color);
QImage noisePicture(QSize size);
QByteArray encoded(const QImage& image, const char* format);
/// A small PNG file whose picture, of 20000 x 20000 pixels, is too large to be read.
QByteArray tooLargePng();
/// A JPEG file whose metadata ask for a quarter turn to the right.
QByteArray turnedJpeg(const QImage& image);
/// Two frames of 2 x 2 pixels: red, then blue.
QByteArray animatedGif();

/// Makes the folder too; ends the process when it cannot.
void writeFile(const QString& path, const QByteArray& content);

} // namespace support
