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

/// Pixels derived from a picture, and the transform from their coordinates to the picture's.
struct Derived {
    PictureView view;
    QTransform toPicture;
};

/// The search for a code in one picture. Derives pixels from the picture, passes them to the
/// engines, confirms doubtful readings, and converts corners to coordinates of the picture. The
/// search owns the derived pixels and reuses their memory: they are valid until four more are
/// derived.
class Search {
public:
    explicit Search(const PictureView& picture);

    Derived whole() const { return { m_picture, {} }; }
    /// The picture at a size that allows many attempts: reduced when a side has more than about
    /// 2000 pixels, else the whole picture.
    const Derived& base() const { return m_base; }
    bool isBaseSmaller() const { return m_base.view.width < m_picture.width; }
    const QList<Place>& places(); ///< in pixels of the base

    Derived shrunk(const Derived& from, int factor);
    Derived enlarged(const Derived& from, double factor);
    static Derived cropped(const Derived& from, const QRect& part);
    /// Adds a white border, for codes that touch the edge of the picture.
    Derived framed(const Derived& from, int margin);
    /// Crops to the bounding rectangle of a place with a margin.
    static Derived around(const Derived& from, const Place& place);
    /// Removes the perspective from a place: its outline becomes an upright rectangle, with a
    /// margin. `scale` applies to its size in `from`, and is reduced for large places.
    Derived rectified(const Derived& from, const Place& place, double scale);
    /// Applies one of PictureFilters that keeps positions.
    template <typename Filter> Derived filtered(const Derived& from, Filter filter)
    {
        PictureBuffer& to = freeBuffer();
        filter(from.view, to);
        return { to.view(), from.toPicture };
    }

    /// Returns hasFound(), or false when the library failed.
    bool readByZXing(const Derived& pixels, const ZXingOptions& options = {});
    bool readByZBar(const Derived& pixels);

    bool hasFound() const { return !m_codes.isEmpty(); }
    QList<BarcodeObservation> takeCodes() { return std::move(m_codes); }
    /// Whether a library failed on any of the pixels.
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
    std::unique_ptr<ZBarEngine> m_zbar; ///< created on first use
    bool m_hasFailed = false;
};

} // namespace platform
