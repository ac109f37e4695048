#pragma once

#include <QString>

namespace platform {

/// A failure as a value, complete enough to be shown to a user.
struct Error {
    QString domain; ///< who defines `code`; a program's own name or a posix / store domain
    int code = 0;
    QString localizedDescription; ///< what happened, plain text
    QString failureReason; ///< why, or what to do about it; may be empty

    bool operator==(const Error&) const = default;
};

/// The domain of errors that carry an errno value.
inline constexpr auto posixErrorDomain = "posix";

/// Codes of the domain `fileErrorDomain`, whatever errno stood behind them.
inline constexpr auto fileErrorDomain = "file";
inline constexpr int fileReadNoSuchFileError = 260;
inline constexpr int fileReadUnknownError = 256;
inline constexpr int fileWriteUnknownError = 512;

} // namespace platform
