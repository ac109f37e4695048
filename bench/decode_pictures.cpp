// Reads the codes of every picture in the given folders and prints `path<TAB>text`, with control
// characters escaped as in JSON. The file NAME.txt beside a picture holds its expected text;
// nothing may be found in folders whose names begin with "falsepositives". A table on standard
// error compares the detector with one call of each library with all its options, in milliseconds
// of processor time.
//   decode_pictures [--noise N] [FOLDER...]
// --noise adds N generated pictures of natural noise, in which nothing may be found.

#include "bench/ProcessorTime.h"
#include "platform/barcode/Detector.h"
#include "platform/barcode/GreyPicture.h"
#include "tests/support/EngineReadings.h"
#include "tests/support/HardFrames.h"
#include "tests/support/SamplePictures.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

using Codes = QList<platform::BarcodeObservation>;

struct Engine {
    const char* name;
    Codes (*read)(const QImage& grey);
};

Codes byDetector(const QImage& grey)
{
    const auto detection = platform::detectCodes(grey, std::nullopt);
    return detection ? detection->codes : Codes();
}

constexpr std::array engines{
    Engine{ "this detector", byDetector },
    Engine{ "ZXing alone", support::codesByZXing },
    Engine{ "ZBar alone", support::codesByZBar },
};

struct Tally {
    int right = 0;
    int wrong = 0;
    int found = 0;
    double milliseconds = 0;
    double slowest = 0;
};

struct Summary {
    int pictures = 0;
    int expected = 0; ///< pictures with an expected text
    std::array<Tally, engines.size()> tallies;

    void operator+=(const Summary& other)
    {
        pictures += other.pictures;
        expected += other.expected;
        for (std::size_t i = 0; i < tallies.size(); ++i) {
            tallies[i].right += other.tallies[i].right;
            tallies[i].wrong += other.tallies[i].wrong;
            tallies[i].found += other.tallies[i].found;
            tallies[i].milliseconds += other.tallies[i].milliseconds;
            tallies[i].slowest = std::max(tallies[i].slowest, other.tallies[i].slowest);
        }
    }
};

QByteArray escaped(const QString& text)
{
    const QByteArray list = QJsonDocument(QJsonArray{ text }).toJson(QJsonDocument::Compact);
    return list.mid(2, list.size() - 4);
}

QByteArray described(const Codes& codes)
{
    if (codes.isEmpty()) {
        return {};
    }
    const auto& text = codes.first().payloadStringValue;
    return text ? escaped(*text) : QByteArrayLiteral("(no text)");
}

Summary examined(const QImage& grey, const QString& path, const std::optional<QString>& expected)
{
    Summary summary;
    summary.pictures = 1;
    summary.expected = expected ? 1 : 0;
    for (std::size_t i = 0; i < engines.size(); ++i) {
        Tally& tally = summary.tallies[i];
        const double before = processorMilliseconds();
        const Codes codes = engines[i].read(grey);
        tally.milliseconds = tally.slowest = processorMilliseconds() - before;
        tally.found = codes.isEmpty() ? 0 : 1;
        const bool right
            = expected && !codes.isEmpty() && codes.first().payloadStringValue == expected;
        tally.right = right ? 1 : 0;
        tally.wrong = expected && !codes.isEmpty() && !right ? 1 : 0;
        if (i == 0) {
            std::printf("%s\t%s\n", qPrintable(path), described(codes).data());
        }
    }
    return summary;
}

void printHeading()
{
    std::fprintf(stderr, "%-22s %4s %4s", "", "pict", "text");
    for (const Engine& engine : engines) {
        std::fprintf(stderr, " | %-34s", engine.name);
    }
    std::fprintf(stderr, "\n%-32s", "");
    for (std::size_t i = 0; i < engines.size(); ++i) {
        std::fprintf(stderr, " | right wrong found    ms   slowest ");
    }
    std::fprintf(stderr, "\n");
}

void print(const QString& name, const Summary& summary)
{
    std::fprintf(stderr, "%-22s %4d %4d", qPrintable(name), summary.pictures, summary.expected);
    for (const Tally& tally : summary.tallies) {
        std::fprintf(stderr, " | %5d %5d %5d %7.1f %8.1f ", tally.right, tally.wrong, tally.found,
            tally.milliseconds / std::max(1, summary.pictures), tally.slowest);
    }
    std::fprintf(stderr, "\n");
}

Summary examinedFolder(const QDir& folder)
{
    Summary summary;
    for (const QFileInfo& picture : support::picturesIn(folder)) {
        summary += examined(platform::greyPicture(QImage(picture.filePath())), picture.filePath(),
            support::expectedText(picture));
    }
    print(folder.dirName(), summary);
    return summary;
}

Summary examinedNoise(int pictures)
{
    support::HardFrames maker(1);
    Summary summary;
    for (int i = 0; i < pictures; ++i) {
        const QSize size(240 + 40 * (i % 11), 180 + 30 * (i % 7));
        summary += examined(
            maker.ground(size, support::Ground::Clouds), u"noise-%1"_s.arg(i), std::nullopt);
    }
    print(u"noise"_s, summary);
    return summary;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption noise(u"noise"_s, {}, u"N"_s, u"0"_s);
    parser.addOption(noise);
    parser.process(application);
    printHeading();
    Summary total;
    for (const QString& folder : parser.positionalArguments()) {
        total += examinedFolder(QDir(folder));
    }
    if (parser.value(noise).toInt() > 0) {
        total += examinedNoise(parser.value(noise).toInt());
    }
    print(u"all"_s, total);
    return 0;
}
