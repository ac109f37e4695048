#pragma once

#include <QVariantMap>

namespace vellumcap {

/// Another program's request to watch: writes three of the watch options and asks the journal
/// window to begin. Main thread.
class ScriptWatchCommand {
public:
    /// `arguments` are Booleans, numbers and texts. They may hold the Booleans "OpenInBackground",
    /// "CloseOnFirstScan" and "SaveCapture", and the text "ScriptName"; what is missing is false or
    /// empty.
    ///
    /// A number is true unless it is zero or none. A text is true when it begins, behind spaces,
    /// a sign and zeros, with one of Y, y, T, t and 1 to 9, so that "YES", "true" and "01" are and
    /// "no", "0" and "on" are not.
    explicit ScriptWatchCommand(const QVariantMap& arguments);

    /// Returns before the watch window opens, and says nothing when none does.
    void performDefaultImplementation() const;

private:
    QVariantMap m_options; ///< exactly the four keys
};

} // namespace vellumcap
