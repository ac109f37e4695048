#pragma once

#include "platform/barcode/Detector.h"

#include <functional>

namespace platform::decoder {

/// The descriptors that a decoder gets from the program.
inline constexpr int socketDescriptor = 3;
inline constexpr int lifelineDescriptor = 4;

/// The main function of a decoder: sets up the libraries, enters the sandbox, and answers requests
/// with `detect` until the program ends. Returns the exit status.
int serve(
    const std::function<std::optional<Detection>(const QImage&, std::optional<LiveFrame>)>& detect);

} // namespace platform::decoder
