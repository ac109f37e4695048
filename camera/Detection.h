#pragma once

#include <QImage>

#include <functional>
#include <memory>

namespace vellumcap {

class CodeOnOffer;

/// Looks for a code in `bitmap` on the global queue and offers it; returns at once. `accepted` is
/// called on the queue's thread, and only when the code is another than the one offered last.
/// Failures count as no code.
void examine(QImage bitmap, std::shared_ptr<CodeOnOffer> offer, std::function<void()> accepted);

} // namespace vellumcap
