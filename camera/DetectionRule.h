#pragma once

#include <QString>

#include <optional>

namespace platform {
class DetectBarcodesRequest;
}

namespace vellumcap {

/// The text of the first result of a finished request; nullopt when there is no result or the first
/// one has no text. Any thread.
std::optional<QString> firstPayload(const platform::DetectBarcodesRequest& request);

} // namespace vellumcap
