#include "platform/barcode/DetectBarcodesRequest.h"

#include "platform/barcode/GreyPicture.h"
#include "platform/barcode/LiveScan.h"
#include "platform/barcode/isolation/DecoderPool.h"

#include <QTransform>

#include <utility>

namespace platform {
namespace {

// Converts corners in a picture to corners in its mirror image, and back.
QPolygonF mirrored(const QPolygonF& corners, int width)
{
    return QTransform(-1, 0, 0, 1, width, 0).map(corners);
}

} // namespace

DetectBarcodesRequest::DetectBarcodesRequest(CompletionHandler completionHandler)
    : m_completionHandler(std::move(completionHandler))
{
}

ImageRequestHandler::ImageRequestHandler(QImage bitmap, ImageRequestOptions options)
    : m_bitmap(std::move(bitmap))
    , m_options(std::move(options))
{
}

bool ImageRequestHandler::perform(DetectBarcodesRequest& request) const
{
    request.m_results.clear();
    QImage grey = greyPicture(m_bitmap);
    if (m_options.orientation == ImageOrientation::Mirrored) {
        grey.mirror(true, false);
    }
    std::optional<Detection> detection;
    if (!grey.isNull()) {
        LiveScan* scan = m_options.liveScan.get();
        detection = decoder::Pool::shared().detect(
            grey, scan != nullptr ? std::optional(scan->nextFrame()) : std::nullopt);
        if (scan != nullptr) {
            scan->setLocated(detection ? detection->located : QRect());
        }
    }
    if (detection) {
        request.m_results = std::move(detection->codes);
        if (m_options.orientation == ImageOrientation::Mirrored) {
            for (BarcodeObservation& code : request.m_results) {
                code.corners = mirrored(code.corners, grey.width());
            }
        }
    }
    if (request.m_completionHandler) {
        request.m_completionHandler(request);
    }
    return detection.has_value();
}

} // namespace platform
