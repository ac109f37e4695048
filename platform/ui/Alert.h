#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace platform {

/// A modal question to the user; plain text only.
struct Alert {
    QString messageText;
    QString informativeText;
    QStringList buttons; ///< in display order, at least one; the first is the default

    /// Shows the alert, application-modal, and returns the index of the pressed button. Escape
    /// presses "Cancel" where there is one, else the last button.
    int runModal(QWidget* parent = nullptr) const;
};

} // namespace platform
