#pragma once

#include "platform/barcode/Detector.h"
#include "platform/barcode/Locator.h"
#include "platform/barcode/PictureView.h"
#include "platform/barcode/Reading.h"
#include "platform/barcode/ZBarEngine.h"
#include "platform/barcode/ZXingEngine.h"

#include <QTransform>

#include <array>
#include <memory>

namespace platform {

/// Pixels made from a picture, and where in it they come from.
struct Derived {
    PictureView view;
    QTransform toPicture;
};

/// The search for a code in one picture: lets engines read pixels that were made from it, asks
/// twice where a reading is doubtful, and keeps what is found in the picture's own coordinates.
/// Derived pixels live in the search until the next ones are derived.
class Search {
public:
    explicit Search(const PictureView& picture);

    Derived whole() const { return { m_picture, {} }; }
    /// The picture at a size at which it can be read in many ways: smaller than the whole where
    /// that has more than 2000 pixels or so a side, else the same.
    const Derived& base() const { return m_base; }
    bool isBaseSmaller() const { return m_base.view.width < m_picture.width; }
    /// In pixels of the base.
    const QList<Place>& places();

    Derived shrunk(const Derived& from, int factor);
    Derived enlarged(const Derived& from, double factor);
    static Derived cropped(const Derived& from, const QRect& part);
    /// With white paper around, for codes that reach to the picture's border.
    Derived framed(const Derived& from, int margin);
    /// The upright part around a place, with some of what surrounds it.
    static Derived around(const Derived& from, const Place& place);
    /// A place made a rectangle, seen from straight above, with what is around it; its larger side
    /// is `scale` times as long as in the picture, within bounds.
    Derived rectified(const Derived& from, const Place& place, double scale);
    /// The same pixels changed by one of PictureFilters.
    template <typename Filter> Derived filtered(const Derived& from, Filter filter)
    {
        PictureBuffer& to = freeBuffer();
        filter(from.view, to);
        return { to.view(), from.toPicture };
    }

    /// True when a code was found.
    bool readByZXing(const Derived& pixels, const ZXingOptions& options = {});
    bool readByZBar(const Derived& pixels);

    bool hasFound() const { return !m_codes.isEmpty(); }
    QList<BarcodeObservation> takeCodes() { return std::move(m_codes); }
    /// Whether a library failed over something that it was given.
    bool hasFailed() const { return m_hasFailed; }

private:
    PictureBuffer& freeBuffer();
    ZBarEngine& zbar();
    bool accept(const Readings& readings, const Derived& pixels);
    bool isConfirmed(const BarcodeObservation& code, const PictureView& pixels);
    bool isReadIn(const PictureView& view, const BarcodeObservation& code);

    PictureView m_picture;
    PictureBuffer m_smaller;
    Derived m_base;
    std::optional<QList<Place>> m_places;
    QList<BarcodeObservation> m_codes;
    QList<BarcodeObservation> m_doubtful;
    std::array<PictureBuffer, 4> m_buffers; ///< used in turn
    std::size_t m_nextBuffer = 0;
    std::unique_ptr<ZBarEngine> m_zbar; ///< made when it is first asked
    bool m_hasFailed = false;
};

} // namespace platform
