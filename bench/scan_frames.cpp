// Scans generated camera frames as the scan window does, one after the other. Prints for each kind
// of frame its cost and after how many frames its code is read, compared with one call of each
// library with all its options. Milliseconds are processor time of this thread.
//   scan_frames [--scenes N] [--frames N] [--seed N] [--height 720|1080|2160] [--own]
// --own leaves out the libraries.

#include "bench/ProcessorTime.h"
#include "platform/barcode/Detector.h"
#include "platform/barcode/LiveScan.h"
#include "tests/support/EngineReadings.h"
#include "tests/support/HardFrames.h"

#include <QCommandLineParser>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

using support::Ground;
using support::HardCode;
using support::HardFrames;

struct Kind {
    const char* name;
    HardCode code;
};

constexpr std::array codeKinds{
    Kind{ "QR, 1/4", { .height = 0.25 } },
    Kind{ "QR, 1/10", { .height = 0.1 } },
    Kind{ "EAN-13", { .symbology = platform::Symbology::Ean13, .height = 0.15 } },
    Kind{ "EAN-13, turned",
        { .symbology = platform::Symbology::Ean13, .height = 0.15, .isTurned = true } },
    Kind{ "Code 128", { .symbology = platform::Symbology::Code128, .height = 0.2 } },
    Kind{ "Aztec", { .symbology = platform::Symbology::Aztec, .height = 0.2, .isTurned = true } },
    Kind{ "Data Matrix",
        { .symbology = platform::Symbology::DataMatrix, .height = 0.2, .isTurned = true } },
    Kind{ "PDF417", { .symbology = platform::Symbology::Pdf417, .height = 0.2 } },
    Kind{ "QR, blurred", { .height = 0.15, .blur = 3 } },
    Kind{
        "EAN-13, blurred", { .symbology = platform::Symbology::Ean13, .height = 0.12, .blur = 2 } },
    Kind{ "QR, noisy", { .height = 0.15, .noise = 40 } },
    Kind{ "QR, turned", { .height = 0.2, .isTurned = true } },
    Kind{ "QR, slanted", { .height = 0.25, .isTurned = true, .isSlanted = true } },
    Kind{ "QR, mirrored", { .height = 0.2, .isMirrored = true } },
    Kind{ "QR, inverted", { .height = 0.2, .isInverted = true } },
    Kind{ "QR, all of it",
        { .height = 0.12, .blur = 1.5, .noise = 15, .isTurned = true, .isSlanted = true } },
};

constexpr std::array grounds{
    std::pair("no code, plain", Ground::Plain),
    std::pair("no code, clouds", Ground::Clouds),
    std::pair("no code, text", Ground::Text),
    std::pair("no code, shapes", Ground::Shapes),
    std::pair("no code, dusk", Ground::Dusk),
};

struct Tally {
    int scenes = 0;
    int frames = 0;
    int atOnce = 0; ///< scenes whose code was read in the first frame
    int read = 0; ///< in any frame
    int wrong = 0;
    int framesUntilRead = 0; ///< sum over the scenes that were read
    double total = 0;
    double slowest = 0;
};

using Texts = QList<QString>;
using Reader = std::function<Texts(const QImage& frame)>;

void examine(Tally& tally, const support::HardScene& scene, const Reader& reader)
{
    ++tally.scenes;
    for (qsizetype i = 0; i < scene.frames.size(); ++i) {
        const double before = processorMilliseconds();
        const Texts texts = reader(scene.frames.at(i));
        const double cost = processorMilliseconds() - before;
        ++tally.frames;
        tally.total += cost;
        tally.slowest = std::max(tally.slowest, cost);
        if (!texts.isEmpty()) {
            const bool right = texts.contains(scene.text);
            tally.read += right ? 1 : 0;
            tally.wrong += right ? 0 : 1;
            if (!right) {
                std::fprintf(stderr, "%s instead of %s\n", qPrintable(texts.first()),
                    qPrintable(scene.text));
            }
            tally.atOnce += right && i == 0 ? 1 : 0;
            tally.framesUntilRead += right ? static_cast<int>(i) + 1 : 0;
            return;
        }
    }
}

Texts textsOf(const QList<platform::BarcodeObservation>& codes)
{
    Texts texts;
    for (const auto& code : codes) {
        texts.append(code.payloadStringValue.value_or(QString()));
    }
    return texts;
}

Reader scanning()
{
    auto scan = std::make_shared<platform::LiveScan>();
    return [scan](const QImage& frame) {
        const auto detection = platform::detectCodes(frame, scan->nextFrame());
        if (!detection) {
            return Texts();
        }
        scan->setLocated(detection->located);
        return textsOf(detection->codes);
    };
}

Texts byZXing(const QImage& frame)
{
    return textsOf(support::codesByZXing(frame));
}

Texts byZBar(const QImage& frame)
{
    return textsOf(support::codesByZBar(frame));
}

void print(const char* name, const std::array<Tally, 3>& tallies)
{
    std::printf("%-18s", name);
    for (const Tally& tally : tallies) {
        const double frames
            = tally.read == 0 ? 0.0 : static_cast<double>(tally.framesUntilRead) / tally.read;
        std::printf(" | %6.1f %6.1f  %3d %3d %3d %4.1f", tally.total / std::max(1, tally.frames),
            tally.slowest, tally.atOnce, tally.read, tally.wrong, frames);
    }
    std::printf("\n");
}

std::array<Tally, 3> examined(
    const std::function<support::HardScene()>& nextScene, int scenes, bool ownOnly)
{
    std::array<Tally, 3> tallies;
    for (int i = 0; i < scenes; ++i) {
        const support::HardScene scene = nextScene();
        examine(tallies[0], scene, scanning());
        if (ownOnly) {
            continue;
        }
        const support::HardScene first{ scene.frames.first(1), scene.text };
        examine(tallies[1], first, byZXing);
        examine(tallies[2], first, byZBar);
    }
    return tallies;
}

struct Plan {
    int scenes = 10;
    int frames = 12;
    quint32 seed = 1;
    bool ownOnly = false; ///< leaves out the libraries
};

void scanSize(QSize size, const Plan& plan)
{
    std::printf("%d x %d, %d scenes of up to %d frames; the libraries see the first frame\n",
        size.width(), size.height(), plan.scenes, plan.frames);
    std::printf("%-18s", "");
    for (const char* engine : { "this detector", "ZXing alone", "ZBar alone" }) {
        std::printf(" | %-32s", engine);
    }
    std::printf("\n%-18s", "");
    for (int i = 0; i < 3; ++i) {
        std::printf(" |   mean slowest once read wrong frames");
    }
    std::printf("\n");
    HardFrames frames(plan.seed);
    for (const auto& [name, ground] : grounds) {
        print(name,
            examined(
                [&, behind = ground] {
                    support::HardScene scene;
                    for (int i = 0; i < plan.frames; ++i) {
                        scene.frames.append(frames.ground(size, behind));
                    }
                    return scene;
                },
                std::max(1, plan.scenes / 5), plan.ownOnly));
    }
    Tally all;
    for (const Kind& kind : codeKinds) {
        const auto tallies = examined(
            [&] { return frames.scene(size, kind.code, plan.frames); }, plan.scenes, plan.ownOnly);
        all.scenes += tallies[0].scenes;
        all.read += tallies[0].read;
        all.atOnce += tallies[0].atOnce;
        print(kind.name, tallies);
        std::fflush(stdout);
    }
    std::printf("all codes: %d of %d read, %d at once\n\n", all.read, all.scenes, all.atOnce);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption scenes(u"scenes"_s, {}, u"N"_s, u"10"_s);
    const QCommandLineOption frames(u"frames"_s, {}, u"N"_s, u"12"_s);
    const QCommandLineOption seed(u"seed"_s, {}, u"N"_s, u"1"_s);
    const QCommandLineOption height(u"height"_s, {}, u"N"_s, u"0"_s);
    const QCommandLineOption own(u"own"_s);
    parser.addOptions({ scenes, frames, seed, height, own });
    parser.process(application);
    const Plan plan{ parser.value(scenes).toInt(), parser.value(frames).toInt(),
        parser.value(seed).toUInt(), parser.isSet(own) };
    for (const QSize size : { QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160) }) {
        const int wanted = parser.value(height).toInt();
        if (wanted == 0 || wanted == size.height()) {
            scanSize(size, plan);
        }
    }
    return 0;
}
