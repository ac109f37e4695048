#pragma once

#include "platform/barcode/DetectBarcodesRequest.h"

#include <QImage>

#include <functional>
#include <memory>

namespace vellumcap {

struct AcceptedCode;
class CodeOnOffer;

/// Looks for a code in `bitmap` on the global queue and offers it; returns at once. `accepted` is
/// called on the queue's thread, and only when the code is another than the one offered last.
/// Failures count as no code. `accepted` is kept exactly as long as the examination runs.
void examine(QImage bitmap, platform::ImageRequestOptions options,
    std::shared_ptr<CodeOnOffer> offer, std::function<void(const AcceptedCode&)> accepted);

} // namespace vellumcap
