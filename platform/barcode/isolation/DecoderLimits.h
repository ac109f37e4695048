#pragma once

#include <QtGlobal>

#include <chrono>

/// Limits of time and size for decoders. Sanitizers slow a program down many times, reserve much
/// address space and make system calls of their own: a build with them has wider limits.
namespace platform::decoder {

#ifdef VELLUMCAP_SANITIZED
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif
inline constexpr int slowness = isSanitized ? 10 : 1;

inline constexpr std::chrono::milliseconds startLimit = std::chrono::seconds(5) * slowness;
inline constexpr std::chrono::milliseconds stillLimit = std::chrono::seconds(10) * slowness;
inline constexpr std::chrono::milliseconds liveLimit = std::chrono::seconds(1) * slowness;

inline constexpr qint64 mebibyte = 1024 * 1024;
inline constexpr qint64 memoryLimit = 2048 * mebibyte; ///< of address space, libraries included
inline constexpr qint64 largestPicture = 512 * mebibyte; ///< bytes of pixels
inline constexpr qint64 largestKept
    = 32 * mebibyte; ///< shared memory that is kept for the next picture

inline constexpr int largestSide = 1 << 24; ///< pixels
inline constexpr int mostCodes = 32;
inline constexpr int longestText = 12 * 1024; ///< UTF-16 units; no symbology holds 8,000 characters
inline constexpr int largestMessage = 64 * 1024; ///< bytes

} // namespace platform::decoder
