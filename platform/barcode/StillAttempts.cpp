#include "platform/barcode/StillAttempts.h"

#include "platform/barcode/ModuleGrid.h"
#include "platform/barcode/PictureFilters.h"
#include "platform/services/ThreadCpuClock.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace platform {
namespace {

namespace filters = PictureFilters;

constexpr int smallestToHalve = 160; // pixels of the smaller side
constexpr int largestToEnlarge = 600; // pixels of the larger side

int smallerSide(const Derived& pixels)
{
    return std::min(pixels.view.width, pixels.view.height);
}

int largerSide(const Derived& pixels)
{
    return std::max(pixels.view.width, pixels.view.height);
}

void sharpenStrongly(const PictureView& from, PictureBuffer& to)
{
    filters::sharpen(from, 8, to);
}

void readPlain(Search& search)
{
    search.readByZXing(search.base());
}

void readEqualisedPlaces(Search& search)
{
    for (const Place& place : search.places()) {
        if (search.readByZXing(
                search.filtered(Search::around(search.base(), place), filters::equalise))) {
            return;
        }
    }
}

void readEqualised(Search& search)
{
    search.readByZXing(search.filtered(search.base(), filters::equalise));
}

void readEqualisedSharpened(Search& search)
{
    search.readByZXing(
        search.filtered(search.filtered(search.base(), filters::equalise), sharpenStrongly));
}

void readHalved(Search& search)
{
    if (smallerSide(search.base()) >= smallestToHalve) {
        search.readByZXing(search.shrunk(search.base(), 2));
    }
}

void readHalvedBlurred(Search& search)
{
    if (smallerSide(search.base()) >= smallestToHalve) {
        search.readByZXing(search.filtered(search.shrunk(search.base(), 2), filters::blur));
    }
}

void readBlurred(Search& search)
{
    search.readByZXing(search.filtered(search.base(), filters::blur));
}

void readRectified(Search& search)
{
    for (const Place& place : search.places()) {
        const Derived code = search.rectified(search.base(), place, 1);
        if (search.readByZXing(search.filtered(code, filters::equalise))) {
            return;
        }
    }
}

void readRectifiedSmall(Search& search)
{
    for (const Place& place : search.places()) {
        const Derived code = search.rectified(search.base(), place, 0.7);
        if (search.readByZXing(search.filtered(code, filters::blur))) {
            return;
        }
    }
}

void readInverted(Search& search)
{
    search.readByZXing(search.filtered(search.base(), filters::invert));
}

void readHalvedInverted(Search& search)
{
    if (smallerSide(search.base()) >= smallestToHalve) {
        search.readByZXing(search.filtered(search.shrunk(search.base(), 2), filters::invert));
    }
}

void readFramed(Search& search)
{
    if (largerSide(search.base()) <= largestToEnlarge) {
        search.readByZXing(search.framed(search.filtered(search.base(), filters::equalise), 20));
    }
}

void readEnlarged(Search& search)
{
    if (largerSide(search.base()) <= largestToEnlarge) {
        const Derived large = search.enlarged(search.framed(search.base(), 10), 3);
        search.readByZXing(search.filtered(large, sharpenStrongly));
    }
}

void readGrids(Search& search)
{
    PictureBuffer drawn;
    for (const Place& place :
        search.places().first(std::min<qsizetype>(2, search.places().size()))) {
        ModuleGrid grid(search.base().view, place);
        for (std::size_t guess = 0; guess < grid.guesses(); ++guess) {
            for (const auto lines : { ModuleGrid::Lines::Straight, ModuleGrid::Lines::Bent }) {
                grid.draw(guess, lines, drawn);
                const Derived code{ drawn.view(), grid.toPicture() * search.base().toPicture };
                ZXingOptions options;
                options.symbologies = ZXingOptions::Symbologies::Matrix;
                if (search.readByZXing(code, options)) {
                    return;
                }
                options.subject = ZXingOptions::Subject::Drawing;
                if (search.readByZXing(code, options)) {
                    return;
                }
            }
        }
    }
}

void readWhole(Search& search)
{
    if (search.isBaseSmaller()) {
        search.readByZXing(search.whole());
    }
}

void readByZBar(Search& search)
{
    search.readByZBar(search.base());
}

void readHalvedByZBar(Search& search)
{
    if (smallerSide(search.base()) >= smallestToHalve) {
        search.readByZBar(search.shrunk(search.base(), 2));
    }
}

void readEqualisedByZBar(Search& search)
{
    search.readByZBar(search.filtered(search.base(), filters::equalise));
}

Derived turned(Search& search, const Derived& from, double degrees)
{
    const QRectF box(0, 0, from.view.width, from.view.height);
    QTransform back = QTransform::fromTranslate(box.center().x(), box.center().y());
    back.rotate(degrees);
    const QSizeF size = back.mapRect(box).size();
    back.translate(-size.width() / 2, -size.height() / 2);
    const Derived result = search.filtered(from, [&](const PictureView& view, PictureBuffer& to) {
        filters::warp(view, back, size.toSize(), to);
    });
    return { result.view, back * from.toPicture };
}

void readTurned(Search& search)
{
    for (const double degrees : { -20.0, 20.0 }) {
        if (search.readByZXing(turned(search, search.base(), degrees))) {
            return;
        }
    }
}

using Attempt = void (*)(Search&);

// Ordered by codes read per processor time, see docs/detector.md.
constexpr std::array<Attempt, 19> attempts{
    readPlain,
    readEqualisedPlaces,
    readEqualised,
    readHalved,
    readHalvedBlurred,
    readBlurred,
    readRectifiedSmall,
    readRectified,
    readEqualisedSharpened,
    readHalvedInverted,
    readInverted,
    readFramed,
    readHalvedByZBar,
    readByZBar,
    readEqualisedByZBar,
    readGrids,
    readWhole,
    readEnlarged,
    readTurned,
};

// Processor time: a second for twelve megapixels, and enough for all attempts on a small picture.
std::chrono::milliseconds budget(const PictureView& picture)
{
    constexpr qint64 minimum = 300;
    constexpr qint64 perMegapixel = 60;
    return std::chrono::milliseconds(
        minimum + perMegapixel * picture.width * picture.height / 1'000'000);
}

} // namespace

void searchStill(Search& search)
{
    const auto end = ThreadCpuClock::now() + budget(search.whole().view);
    for (const Attempt attempt : attempts) {
        attempt(search);
        if (search.hasFound() || ThreadCpuClock::now() > end) {
            return;
        }
    }
}

} // namespace platform
