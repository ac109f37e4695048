#include "platform/barcode/LiveAttempts.h"

#include "platform/barcode/PictureFilters.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace platform {
namespace {

namespace filters = PictureFilters;
using Symbologies = ZXingOptions::Symbologies;

constexpr int overviewSide = 600; // pixels of its smaller side, or so
constexpr int cellsAcross = 120;
constexpr int noisy = 16; // median edge
constexpr qsizetype mostPlaces = 3;
constexpr double largestPlace = 380; // pixels a side, of what is made of a place
constexpr double largestForZBar = 60'000; // pixels, since it takes long over each

ZXingOptions only(Symbologies symbologies)
{
    ZXingOptions options;
    options.symbologies = symbologies;
    return options;
}

int overviewFactor(const PictureView& frame)
{
    const int side = std::min(frame.width, frame.height);
    return std::max(1, (side + overviewSide / 2) / overviewSide);
}

// Noise costs the engines time and hides codes from them.
Derived calmed(Search& search, const Derived& from)
{
    return medianEdge(from.view) > noisy ? search.filtered(from, filters::blur) : from;
}

Derived straightened(Search& search, const Place& place)
{
    const QRectF box = place.outline.boundingRect();
    const double scale = std::min(2.0, largestPlace / std::max(box.width(), box.height()));
    return calmed(search, search.rectified(search.whole(), place, scale));
}

void readPlain(Search& search, const Place& place)
{
    search.readByZXing(straightened(search, place));
}

void readSharpened(Search& search, const Place& place)
{
    search.readByZXing(search.filtered(straightened(search, place),
        [](const PictureView& from, PictureBuffer& to) { filters::sharpen(from, 8, to); }));
}

void readInverted(Search& search, const Place& place)
{
    search.readByZXing(search.filtered(straightened(search, place), filters::invert));
}

Derived mirrored(Search& search, const Derived& from)
{
    const Derived result = search.filtered(from, filters::mirror);
    return { result.view, QTransform(-1, 0, 0, 1, from.view.width, 0) * from.toPicture };
}

void readMirrored(Search& search, const Place& place)
{
    search.readByZXing(mirrored(search, straightened(search, place)));
}

void readBlurred(Search& search, const Place& place)
{
    search.readByZXing(search.filtered(straightened(search, place), filters::blur));
}

void readByZBar(Search& search, const Place& place)
{
    const QRectF box = place.outline.boundingRect();
    const double scale = std::sqrt(largestForZBar / (box.width() * box.height()));
    search.readByZBar(
        calmed(search, search.rectified(search.whole(), place, std::min(2.0, scale))));
}

using PlaceAttempt = void (*)(Search&, const Place&);
constexpr std::array<PlaceAttempt, 6> placeAttempts{ readPlain, readInverted, readSharpened,
    readMirrored, readByZBar, readBlurred };

// One of nine parts of a frame, which overlap by a fourth.
QRect part(const PictureView& frame, quint64 which)
{
    const int column = static_cast<int>(which % 3);
    const int row = static_cast<int>(which / 3 % 3);
    return { column * frame.width * 3 / 10, row * frame.height * 3 / 10, frame.width * 2 / 5,
        frame.height * 2 / 5 };
}

void readPart(Search& search, quint64 which)
{
    const Derived whole = Search::cropped(search.whole(), part(search.whole().view, which));
    const int factor = (overviewFactor(search.whole().view) + 1) / 2;
    const Derived reduced = factor > 1 ? search.shrunk(whole, factor) : whole;
    search.readByZXing(calmed(search, reduced), only(Symbologies::Matrix));
}

// Every other time linear codes, since those are the commonest; then what is rarer.
void readAll(Search& search, const Derived& overview, quint64 turn)
{
    if (turn % 2 == 0) {
        search.readByZXing(overview, only(Symbologies::Linear));
        return;
    }
    switch (turn / 2 % 3) {
    case 0:
        search.readByZXing(search.filtered(overview, filters::invert), only(Symbologies::Matrix));
        break;
    case 1:
        search.readByZXing(mirrored(search, overview), only(Symbologies::Matrix));
        break;
    default:
        readPart(search, turn / 6);
    }
}

// In pixels of the frame; where the frame shows none, that which the frame before has shown.
QList<Place> placesIn(const Derived& overview, const QRect& located)
{
    QList<Place> places = likelyPlaces(overview.view, cellsAcross, mostPlaces);
    for (Place& place : places) {
        place.outline = overview.toPicture.map(place.outline);
    }
    if (places.isEmpty() && !located.isEmpty()) {
        const QRectF box(located);
        places.append(
            { { box.topLeft(), box.topRight(), box.bottomRight(), box.bottomLeft() }, 0 });
    }
    return places;
}

} // namespace

QRect searchLive(Search& search, const LiveFrame& frame)
{
    const int factor = overviewFactor(search.whole().view);
    PictureBuffer pixels;
    Derived overview = search.whole();
    if (factor > 1) {
        filters::shrink(search.whole().view, factor, pixels);
        overview = { pixels.view(), QTransform::fromScale(factor, factor) };
    }
    PictureBuffer calm;
    if (medianEdge(overview.view) > noisy) {
        filters::blur(overview.view, calm);
        overview.view = calm.view();
    }
    if (search.readByZXing(overview, only(Symbologies::Matrix))) {
        return {};
    }
    // The places, the most likely first, each in every way before all of them in the next one.
    const QList<Place> places = placesIn(overview, frame.located);
    const quint64 turn = frame.number / 2;
    const Place* unread = nullptr;
    if (!places.isEmpty()) {
        const auto size = static_cast<quint64>(places.size());
        unread = &places.at(static_cast<qsizetype>(turn % size));
        if (frame.number % 2 == 1) {
            placeAttempts[turn / size % placeAttempts.size()](search, *unread);
        }
    }
    if (frame.number % 2 == 0 || unread == nullptr) {
        readAll(search, overview, turn);
    }
    return unread == nullptr || search.hasFound() ? QRect()
                                                  : unread->outline.boundingRect().toAlignedRect();
}

} // namespace platform
