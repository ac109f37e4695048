#pragma once

#include "platform/barcode/DetectBarcodesRequest.h"

#include <QImage>

#include <functional>
#include <memory>

namespace vellumcap {

struct AcceptedCode;
class CodeOnOffer;

/// Searches `bitmap` for a code on the global queue and offers it; returns at once. `accepted` is
/// called on the queue's thread, only when the code differs from the one offered last, and is
/// destroyed when the examination ends. A failed search counts as no code.
void examine(QImage bitmap, platform::ImageRequestOptions options,
    std::shared_ptr<CodeOnOffer> offer, std::function<void(const AcceptedCode&)> accepted);

} // namespace vellumcap
