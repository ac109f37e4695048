#include "platform/barcode/Detector.h"

#include "platform/barcode/GreyPicture.h"
#include "platform/barcode/ZBarEngine.h"
#include "platform/barcode/ZXingEngine.h"

#include <QTransform>

#include <algorithm>
#include <utility>

namespace platform {
namespace {

using Observations = QList<BarcodeObservation>;

// The shortest side of the smallest symbol there is (a Data Matrix of 8 x 18 modules).
constexpr int smallestCode = 8;
constexpr int comfortableSide = 2000; // pixels; larger pictures are first read smaller
constexpr int largestReadHalved = 1000; // pixels; below, half the size has too few per module

/// Tries engine after engine and size after size over one picture until a code turns up.
class Search {
public:
    explicit Search(QImage grey)
        : m_grey(std::move(grey))
    {
    }

    Observations codes();
    bool failed() const { return m_failed; }

private:
    Observations read(BarcodeEngine& engine, const QImage& grey, int factor);

    QImage m_grey;
    bool m_failed = false;
};

Observations Search::read(BarcodeEngine& engine, const QImage& grey, int factor)
{
    auto found = engine.read(grey);
    if (!found) {
        m_failed = true;
        return {};
    }
    for (BarcodeObservation& code : *found) {
        code.corners = QTransform::fromScale(factor, factor).map(code.corners);
    }
    return *found;
}

Observations Search::codes()
{
    const int side = std::max(m_grey.width(), m_grey.height());
    const int comfortable = std::max(1, qRound(double(side) / comfortableSide));
    const QImage first = comfortable > 1 ? shrunk(m_grey, comfortable) : m_grey;
    ZXingEngine zxing;
    Observations found = read(zxing, first, comfortable);
    if (found.isEmpty() && comfortable > 1) {
        found = read(zxing, m_grey, 1);
    }
    if (found.isEmpty() && comfortable != 2 && side > largestReadHalved) {
        found = read(zxing, shrunk(m_grey, 2), 2);
    }
    if (found.isEmpty()) {
        found = read(zxing, inverted(first), comfortable);
    }
    if (found.isEmpty()) {
        ZBarEngine zbar;
        found = read(zbar, first, comfortable);
    }
    return found;
}

} // namespace

std::optional<Detection> detectCodes(const QImage& grey, std::optional<LiveFrame> /*frame*/)
{
    if (std::min(grey.width(), grey.height()) < smallestCode) {
        return Detection();
    }
    Search search(grey);
    Detection detection{ search.codes(), QRect() };
    const bool nothingBut = detection.codes.isEmpty() && search.failed();
    return nothingBut ? std::nullopt : std::optional(std::move(detection));
}

} // namespace platform
