#include "camera/Detection.h"

#include "camera/CodeOnOffer.h"
#include "camera/DetectionRule.h"
#include "platform/services/Dispatch.h"

#include <utility>

namespace vellumcap {

void examine(QImage bitmap, platform::ImageRequestOptions options,
    std::shared_ptr<CodeOnOffer> offer, std::function<void(const AcceptedCode&)> accepted)
{
    auto job = [bitmap = std::move(bitmap), options = std::move(options), offer = std::move(offer),
                   accepted = std::move(accepted)] {
        platform::DetectBarcodesRequest request(
            [&](const platform::DetectBarcodesRequest& finished) {
                const auto text = firstPayload(finished);
                if (text && offer->accept(*text, bitmap)) {
                    accepted({ *text, bitmap });
                }
            });
        platform::ImageRequestHandler(bitmap, options).perform(request);
    };
    platform::dispatchGlobal(platform::QualityOfService::UserInitiated, std::move(job));
}

} // namespace vellumcap
