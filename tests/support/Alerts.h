#pragma once

#include <QStringList>

#include <functional>

class QMessageBox;

namespace support {

/// Calls `answer` with the next modal alert, once it is shown.
void onNextAlert(std::function<void(QMessageBox&)> answer);

/// The texts of a modal alert.
struct AlertSeen {
    QString text;
    QString informativeText;
    QStringList buttons; ///< from left to right
};

/// Clicks the button at the index `button` of the next modal alert and appends the alert's texts
/// to `seen`, which must outlive the alert.
void answerNextAlert(int button, QList<AlertSeen>& seen);

} // namespace support
