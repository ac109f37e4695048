#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QList>

#include <functional>
#include <memory>

namespace platform {

class LiveScan;

/// Asks which codes of any known symbology a bitmap holds. The search ends with the first way of
/// reading that yields a code, so of several codes not all need to be among the results.
class DetectBarcodesRequest {
public:
    using CompletionHandler = std::function<void(const DetectBarcodesRequest&)>;

    explicit DetectBarcodesRequest(CompletionHandler completionHandler);

    const QList<BarcodeObservation>& results() const { return m_results; }

private:
    friend class ImageRequestHandler;
    CompletionHandler m_completionHandler;
    QList<BarcodeObservation> m_results;
};

enum class ImageOrientation { Upright, Mirrored };

struct ImageRequestOptions {
    /// Mirrored: the bitmap shows left and right exchanged. Codes are looked for in the picture as
    /// it was before, since few readers know mirrored codes.
    ImageOrientation orientation = ImageOrientation::Upright;
    /// The scan of a camera that the bitmap is a frame of; null for a still picture.
    std::shared_ptr<LiveScan> liveScan;
};

/// Performs requests over one bitmap. Any thread; handlers share nothing.
class ImageRequestHandler {
public:
    explicit ImageRequestHandler(QImage bitmap, ImageRequestOptions options = {});

    /// Fills the request's results and calls its completion handler, on this thread, before it
    /// returns. False when the bitmap could not be examined (null, or a fault inside a library);
    /// the handler is then called with no results. A request without a handler is filled only.
    bool perform(DetectBarcodesRequest& request) const;

private:
    QImage m_bitmap;
    ImageRequestOptions m_options;
};

} // namespace platform
