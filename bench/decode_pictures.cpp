// Reads the codes of every picture in the given folders and prints `path<TAB>text`, control
// characters escaped as in JSON. Where NAME.txt stands beside a picture it is the text to expect;
// a picture without one, in a folder whose name begins with "falsepositives", must give nothing.

#include "platform/barcode/DetectBarcodesRequest.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>
#include <optional>

namespace {

struct Tally {
    int pictures = 0;
    int expected = 0; // pictures with a text to expect
    int right = 0;
    int wrong = 0;
    int found = 0;
    double milliseconds = 0;
    double slowest = 0;

    void operator+=(const Tally& other)
    {
        pictures += other.pictures;
        expected += other.expected;
        right += other.right;
        wrong += other.wrong;
        found += other.found;
        milliseconds += other.milliseconds;
        slowest = std::max(slowest, other.slowest);
    }
};

QByteArray escaped(const QString& text)
{
    const QByteArray list = QJsonDocument(QJsonArray{ text }).toJson(QJsonDocument::Compact);
    return list.mid(2, list.size() - 4);
}

std::optional<QString> expectedText(const QFileInfo& picture)
{
    QFile file(picture.dir().filePath(picture.completeBaseName() + QStringLiteral(".txt")));
    if (!file.open(QFile::ReadOnly)) {
        return std::nullopt;
    }
    return QString::fromUtf8(file.readAll());
}

QByteArray described(const QList<platform::BarcodeObservation>& codes)
{
    if (codes.isEmpty()) {
        return {};
    }
    const auto& text = codes.first().payloadStringValue;
    return text ? escaped(*text) : QByteArrayLiteral("(no text)");
}

Tally examined(const QFileInfo& picture)
{
    const QImage bitmap(picture.filePath());
    platform::DetectBarcodesRequest request(nullptr);
    QElapsedTimer clock;
    clock.start();
    platform::ImageRequestHandler(bitmap).perform(request);
    Tally tally;
    tally.pictures = 1;
    tally.milliseconds = tally.slowest = double(clock.nsecsElapsed()) / 1e6;
    tally.found = request.results().isEmpty() ? 0 : 1;
    const auto expected = expectedText(picture);
    if (expected) {
        tally.expected = 1;
        const bool right
            = tally.found == 1 && request.results().first().payloadStringValue == expected;
        tally.right = right ? 1 : 0;
        tally.wrong = tally.found == 1 && !right ? 1 : 0;
    }
    std::printf("%s\t%s\n", qPrintable(picture.filePath()), described(request.results()).data());
    return tally;
}

void report(const QString& name, const Tally& tally)
{
    std::fprintf(stderr, "%-24s %4d pictures, %4d of %4d right, %3d wrong, %4d found, ",
        qPrintable(name), tally.pictures, tally.right, tally.expected, tally.wrong, tally.found);
    std::fprintf(stderr, "%7.1f ms each, slowest %7.1f ms\n",
        tally.milliseconds / std::max(1, tally.pictures), tally.slowest);
}

Tally examinedFolder(const QDir& folder)
{
    QStringList patterns;
    for (const QByteArray& format : QImageReader::supportedImageFormats()) {
        patterns.append(QStringLiteral("*.") + QString::fromLatin1(format));
    }
    Tally tally;
    for (const QFileInfo& picture : folder.entryInfoList(patterns, QDir::Files, QDir::Name)) {
        tally += examined(picture);
    }
    report(folder.dirName(), tally);
    return tally;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Tally total;
    for (const QString& folder : QGuiApplication::arguments().mid(1)) {
        total += examinedFolder(QDir(folder));
    }
    report(QStringLiteral("all"), total);
    return 0;
}
