#include "platform/barcode/Search.h"

#include "platform/barcode/PictureFilters.h"

#include <QLineF>

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

constexpr int largestBase = 2016; // pixels a side
constexpr double largestConfirmed = 300'000; // pixels in which a doubtful code is read again
constexpr int cellsAcross = 120;
constexpr qsizetype maximumPlaces = 3;
constexpr double largestRectified = 900; // pixels a side
constexpr double quietZone = 0.12; // fraction of a place's smaller side

bool isSame(const BarcodeObservation& a, const BarcodeObservation& b)
{
    return a.symbology == b.symbology && a.payloadStringValue == b.payloadStringValue;
}

QSize scaled(const PictureView& view, double factor)
{
    return { static_cast<int>(view.width * factor), static_cast<int>(view.height * factor) };
}

} // namespace

Search::Search(const PictureView& picture)
    : m_picture(picture)
    , m_base(whole())
{
    const int side = std::max(picture.width, picture.height);
    if (side > largestBase) {
        const int factor = (side + largestBase - 1) / largestBase;
        PictureFilters::shrink(picture, factor, m_smaller);
        m_base = { m_smaller.view(), QTransform::fromScale(factor, factor) };
    }
}

const QList<Place>& Search::places()
{
    if (!m_places) {
        m_places = likelyPlaces(m_base.view, cellsAcross, maximumPlaces);
    }
    return *m_places;
}

PictureBuffer& Search::freeBuffer()
{
    m_nextBuffer = (m_nextBuffer + 1) % m_buffers.size();
    return m_buffers[m_nextBuffer];
}

ZBarEngine& Search::zbar()
{
    if (!m_zbar) {
        m_zbar = std::make_unique<ZBarEngine>();
    }
    return *m_zbar;
}

Derived Search::shrunk(const Derived& from, int factor)
{
    PictureBuffer& to = freeBuffer();
    PictureFilters::shrink(from.view, factor, to);
    return { to.view(), QTransform::fromScale(factor, factor) * from.toPicture };
}

Derived Search::enlarged(const Derived& from, double factor)
{
    PictureBuffer& to = freeBuffer();
    PictureFilters::resample(from.view, scaled(from.view, factor), to);
    return { to.view(), QTransform::fromScale(1 / factor, 1 / factor) * from.toPicture };
}

Derived Search::cropped(const Derived& from, const QRect& part)
{
    const QRect inside = part & from.view.rect();
    return { from.view.cropped(part),
        QTransform::fromTranslate(inside.x(), inside.y()) * from.toPicture };
}

Derived Search::around(const Derived& from, const Place& place)
{
    const QRect box = place.outline.boundingRect().toAlignedRect();
    const int margin = std::min(box.width(), box.height()) / 7 + 2;
    return cropped(from, box.adjusted(-margin, -margin, margin, margin));
}

Derived Search::framed(const Derived& from, int margin)
{
    PictureBuffer& to = freeBuffer();
    PictureFilters::frame(from.view, margin, to);
    return { to.view(), QTransform::fromTranslate(-margin, -margin) * from.toPicture };
}

Derived Search::rectified(const Derived& from, const Place& place, double scale)
{
    const QPolygonF& outline = place.outline;
    const auto side
        = [&outline](int i) { return QLineF(outline.at(i), outline.at((i + 1) % 4)).length(); };
    const double width = std::max(side(0), side(2));
    const double height = std::max(side(1), side(3));
    const double factor = std::min(scale, largestRectified / std::max(width, height));
    const double margin = quietZone * std::min(width, height) * factor;
    const QRectF code(margin, margin, width * factor, height * factor);
    QTransform toSource;
    if (!QTransform::quadToQuad(
            QPolygonF{ code.topLeft(), code.topRight(), code.bottomRight(), code.bottomLeft() },
            outline, toSource)) {
        return {};
    }
    PictureBuffer& to = freeBuffer();
    PictureFilters::warp(
        from.view, toSource, code.adjusted(-margin, -margin, margin, margin).size().toSize(), to);
    return { to.view(), toSource * from.toPicture };
}

bool Search::readByZXing(const Derived& pixels, const ZXingOptions& options)
{
    return !pixels.view.isEmpty() && accept(platform::readByZXing(pixels.view, options), pixels);
}

bool Search::readByZBar(const Derived& pixels)
{
    return !pixels.view.isEmpty() && accept(zbar().read(pixels.view), pixels);
}

bool Search::accept(const Readings& readings, const Derived& pixels)
{
    if (!readings) {
        m_hasFailed = true;
        return false;
    }
    for (Reading reading : *readings) {
        if (reading.trust == Trust::Certain || isConfirmed(reading.code, pixels.view)) {
            reading.code.corners = pixels.toPicture.map(reading.code.corners);
            m_codes.append(std::move(reading.code));
        }
    }
    return hasFound();
}

bool Search::isConfirmed(const BarcodeObservation& code, const PictureView& pixels)
{
    const auto isSameCode
        = [&code](const BarcodeObservation& other) { return isSame(code, other); };
    // Bars of other codes are often misread as UPC-E, the shortest code, and with the same result:
    // an earlier attempt does not confirm it.
    const bool isUpcE = code.symbology == Symbology::UpcE;
    if (!isUpcE && std::any_of(m_doubtful.begin(), m_doubtful.end(), isSameCode)) {
        return true;
    }
    m_doubtful.append(code);
    // A misreading does not repeat in changed pixels. Of a stacked DataBar code ZBar does not give
    // the whole place.
    const bool isDataBar
        = code.symbology == Symbology::DataBar || code.symbology == Symbology::DataBarExpanded;
    const QRect box = code.corners.boundingRect().toAlignedRect();
    const int margin = std::max({ box.width(), box.height(), 16 }) / 2;
    const PictureView part
        = isDataBar ? pixels : pixels.cropped(box.adjusted(-margin, -margin, margin, margin));
    if (part.isEmpty()) {
        return false;
    }
    const double scale = std::min(2.0, std::sqrt(largestConfirmed / part.width / part.height));
    PictureBuffer larger;
    PictureBuffer sharp;
    PictureFilters::resample(part, scaled(part, scale), larger);
    PictureFilters::sharpen(part, 2, sharp);
    if (isReadIn(larger.view(), code)) {
        return true;
    }
    if (isUpcE) {
        return false;
    }
    if (isReadIn(sharp.view(), code)) {
        return true;
    }
    PictureFilters::sharpen(larger.view(), 8, sharp);
    return isReadIn(sharp.view(), code);
}

bool Search::isReadIn(const PictureView& view, const BarcodeObservation& code)
{
    const auto holds = [&code](const Readings& readings) {
        return readings
            && std::any_of(readings->begin(), readings->end(),
                [&code](const Reading& reading) { return isSame(code, reading.code); });
    };
    ZXingOptions linear;
    linear.symbologies = ZXingOptions::Symbologies::Linear;
    return holds(platform::readByZXing(view, linear)) || holds(zbar().read(view));
}

} // namespace platform
