#include "platform/barcode/LiveAttempts.h"

#include "platform/barcode/PictureFilters.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace platform {
namespace {

namespace filters = PictureFilters;
using Symbologies = ZXingOptions::Symbologies;

constexpr int overviewSide = 600; // pixels of the smaller side, approximately
constexpr int cellsAcross = 120;
constexpr int noisyMedianEdge = 16; // a picture above it is noisy
constexpr qsizetype maximumPlaces = 3;
constexpr double largestPlace = 380; // pixels a side of a rectified place
constexpr double largestForZBar = 60'000; // pixels, since ZBar is slow

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

// Blurs noisy pixels: noise makes the engines slower and hides codes from them.
Derived denoised(Search& search, const Derived& from)
{
    return medianEdge(from.view) > noisyMedianEdge ? search.filtered(from, filters::blur) : from;
}

Derived rectified(Search& search, const Place& place)
{
    const QRectF box = place.outline.boundingRect();
    const double scale = std::min(2.0, largestPlace / std::max(box.width(), box.height()));
    return denoised(search, search.rectified(search.whole(), place, scale));
}

void readPlain(Search& search, const Place& place)
{
    search.readByZXing(rectified(search, place));
}

void readSharpened(Search& search, const Place& place)
{
    search.readByZXing(search.filtered(rectified(search, place),
        [](const PictureView& from, PictureBuffer& to) { filters::sharpen(from, 8, to); }));
}

void readInverted(Search& search, const Place& place)
{
    search.readByZXing(search.filtered(rectified(search, place), filters::invert));
}

Derived mirrored(Search& search, const Derived& from)
{
    const Derived result = search.filtered(from, filters::mirror);
    return { result.view, QTransform(-1, 0, 0, 1, from.view.width, 0) * from.toPicture };
}

void readMirrored(Search& search, const Place& place)
{
    search.readByZXing(mirrored(search, rectified(search, place)));
}

void readBlurred(Search& search, const Place& place)
{
    search.readByZXing(search.filtered(rectified(search, place), filters::blur));
}

void readByZBar(Search& search, const Place& place)
{
    const QRectF box = place.outline.boundingRect();
    const double scale = std::sqrt(largestForZBar / (box.width() * box.height()));
    search.readByZBar(
        denoised(search, search.rectified(search.whole(), place, std::min(2.0, scale))));
}

using PlaceAttempt = void (*)(Search&, const Place&);
constexpr std::array<PlaceAttempt, 6> placeAttempts{ readPlain, readInverted, readSharpened,
    readMirrored, readByZBar, readBlurred };

// Nine parts cover a frame; neighbours overlap by a quarter.
QRect partRect(const PictureView& frame, quint64 part)
{
    const int column = static_cast<int>(part % 3);
    const int row = static_cast<int>(part / 3 % 3);
    return { column * frame.width * 3 / 10, row * frame.height * 3 / 10, frame.width * 2 / 5,
        frame.height * 2 / 5 };
}

void readPart(Search& search, quint64 part)
{
    const Derived whole = Search::cropped(search.whole(), partRect(search.whole().view, part));
    const int factor = (overviewFactor(search.whole().view) + 1) / 2;
    const Derived reduced = factor > 1 ? search.shrunk(whole, factor) : whole;
    search.readByZXing(denoised(search, reduced), only(Symbologies::Matrix));
}

// Every second turn is for linear codes, the most frequent; the rarer kinds share the others.
void readWholeFrame(Search& search, const Derived& overview, quint64 turn)
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

// The likely places in pixels of the frame; when there is none, the place located before.
QList<Place> placesIn(const Derived& overview, const QRect& located)
{
    QList<Place> places = likelyPlaces(overview.view, cellsAcross, maximumPlaces);
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
    PictureBuffer blurred;
    if (medianEdge(overview.view) > noisyMedianEdge) {
        filters::blur(overview.view, blurred);
        overview.view = blurred.view();
    }
    if (search.readByZXing(overview, only(Symbologies::Matrix))) {
        return {};
    }
    // The turn selects the place first, then the attempt.
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
        readWholeFrame(search, overview, turn);
    }
    return unread == nullptr || search.hasFound() ? QRect()
                                                  : unread->outline.boundingRect().toAlignedRect();
}

} // namespace platform
