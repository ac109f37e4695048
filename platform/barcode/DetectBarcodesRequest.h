#pragma once

#include "platform/barcode/BarcodeObservation.h"

#include <QImage>
#include <QList>

#include <functional>
#include <memory>

namespace platform {

class LiveScan;

/// A request to find the codes of all known symbologies in a bitmap. The search stops at the first
/// attempt that finds a code, so that not every code of a bitmap needs to be in the results.
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
    /// Mirrored: left and right of the bitmap are exchanged. The search exchanges them again,
    /// since few readers can read mirrored codes.
    ImageOrientation orientation = ImageOrientation::Upright;
    /// The camera scan to which the bitmap belongs as a frame; null for a still picture.
    std::shared_ptr<LiveScan> liveScan;
};

/// Performs requests on one bitmap. Any thread; handlers share no state.
class ImageRequestHandler {
public:
    explicit ImageRequestHandler(QImage bitmap, ImageRequestOptions options = {});

    /// Blocks. Fills the request's results and then calls its completion handler, if any, on this
    /// thread. Returns false, with no results, when the bitmap could not be examined: it is null,
    /// or a library failed.
    bool perform(DetectBarcodesRequest& request) const;

private:
    QImage m_bitmap;
    ImageRequestOptions m_options;
};

} // namespace platform
