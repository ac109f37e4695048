#pragma once

#include <QString>

#include <stdexcept>

namespace platform {

/// Thrown when a caller violates a precondition: an error of the program, not of its input. Never
/// caught for control flow.
class AssertionFailure : public std::logic_error {
public:
    AssertionFailure(const char* file, int line, const QString& what)
        : std::logic_error(what.toStdString())
        , fileName(file)
        , lineNumber(line)
        , description(what)
    {
    }

    const char* fileName; ///< static storage
    int lineNumber;
    QString description;
};

} // namespace platform
