#pragma once

#include "platform/barcode/Detector.h"

#include <functional>

namespace platform::decoder {

/// Where a decoder finds what it shares with the program that started it.
inline constexpr int socketDescriptor = 3;
inline constexpr int lifelineDescriptor = 4;

/// The life of a decoder: sets up the libraries, locks itself in, and answers request after
/// request until the program is gone. Returns the status to end the process with.
int serve(
    const std::function<std::optional<Detection>(const QImage&, std::optional<LiveFrame>)>& detect);

} // namespace platform::decoder
