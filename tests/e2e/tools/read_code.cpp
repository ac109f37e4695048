#include "platform/barcode/DetectBarcodesRequest.h"

#include <QGuiApplication>
#include <QImage>

#include <cstdio>

/// read_code FILE: prints the text of the first code in a picture.
int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    platform::DetectBarcodesRequest request(nullptr);
    platform::ImageRequestHandler(QImage(QGuiApplication::arguments().value(1))).perform(request);
    if (request.results().isEmpty()) {
        return 1;
    }
    const auto text = request.results().first().payloadStringValue;
    std::fputs(text.value_or(QString()).toUtf8().constData(), stdout);
    return text ? 0 : 1;
}
