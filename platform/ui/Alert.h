#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace platform {

/// A modal question to the user; plain text only.
struct Alert {
    QString messageText;
    QString informativeText;
    QStringList buttons; ///< in the order of adding; the first is the default

    /// Shows the alert, application-modal, and returns the place of the pressed button in
    /// `buttons`. Escape presses "Cancel" where there is one, else the last.
    int runModal(QWidget* parent = nullptr) const;
};

} // namespace platform
