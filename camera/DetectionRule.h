#pragma once

#include <QString>

#include <optional>

namespace platform {
class DetectBarcodesRequest;
}

namespace vellumcap {

/// The text of the code that a finished request found. Only its first result counts: nothing when
/// there is none, or when the first carries no text. Any thread.
std::optional<QString> firstPayload(const platform::DetectBarcodesRequest& request);

} // namespace vellumcap
