#pragma once

#include <QString>

#include <stdexcept>

namespace platform {

/// A caller broke a contract: a fault of the program, not of its input. Never caught for control
/// flow.
class AssertionFailure : public std::logic_error {
public:
    AssertionFailure(const char* file, int line, const QString& what)
        : std::logic_error(what.toStdString())
        , fileName(file)
        , lineNumber(line)
        , description(what)
    {
    }

    const char* fileName; ///< a literal
    int lineNumber;
    QString description;
};

} // namespace platform
