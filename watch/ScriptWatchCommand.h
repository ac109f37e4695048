#pragma once

#include <QVariantMap>

namespace vellumcap {

/// Another program's request to watch: writes three of the watch options and begins a watch in the
/// journal window. Main thread.
class ScriptWatchCommand {
public:
    /// `arguments` may contain the Booleans "OpenInBackground", "CloseOnFirstScan" and
    /// "SaveCapture", and the text "ScriptName"; missing ones are false or empty.
    ///
    /// Booleans may be given as numbers or texts. A number is true unless it is zero or not a
    /// number. A text is true if its first character after leading spaces, one sign and zeros is
    /// Y, y, T, t or 1 to 9: "YES", "true" and "01" are true, "no", "0" and "on" are false.
    explicit ScriptWatchCommand(const QVariantMap& arguments);

    /// Returns before the watch window opens. Nothing is reported when none can be opened.
    void performDefaultImplementation() const;

private:
    QVariantMap m_options; ///< exactly the four keys
};

} // namespace vellumcap
