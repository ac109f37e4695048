#pragma once

#include <QString>

namespace platform {

/// A failure as a value, complete enough to be shown to a user.
struct Error {
    QString domain; ///< gives `code` its meaning, such as "posix" or "store"
    int code = 0;
    QString localizedDescription; ///< what happened, plain text
    QString failureReason; ///< why, or what to do about it; may be empty

    bool operator==(const Error&) const = default;
};

/// The domain of errors whose code is an errno value.
inline constexpr auto posixErrorDomain = "posix";

inline Error posixError(int code, const QString& description, const QString& reason)
{
    return { QString::fromLatin1(posixErrorDomain), code, description, reason };
}

/// Codes of the domain `fileErrorDomain`, each for several errno values.
inline constexpr auto fileErrorDomain = "file";
inline constexpr int fileReadNoSuchFileError = 260;
inline constexpr int fileReadUnknownError = 256;
inline constexpr int fileWriteUnknownError = 512;

} // namespace platform
