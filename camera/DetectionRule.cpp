#include "camera/DetectionRule.h"

#include "platform/barcode/DetectBarcodesRequest.h"

namespace vellumcap {

std::optional<QString> firstPayload(const platform::DetectBarcodesRequest& request)
{
    return request.results().isEmpty() ? std::nullopt
                                       : request.results().first().payloadStringValue;
}

} // namespace vellumcap
