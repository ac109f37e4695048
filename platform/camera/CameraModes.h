#pragma once

namespace platform {

enum class FocusMode { Locked = 0, AutoFocus = 1, ContinuousAutoFocus = 2 };
enum class ExposureMode { Locked = 0, AutoExpose = 1, ContinuousAutoExposure = 2 };
enum class WhiteBalanceMode { Locked = 0, AutoWhiteBalance = 1, ContinuousAutoWhiteBalance = 2 };

} // namespace platform
