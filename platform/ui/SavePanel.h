#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace platform {

/// Asks where to save a file, as a sheet on a window.
struct SavePanel {
    QString suggestedName; ///< without extension
    QStringList allowedFileTypes; ///< extensions without dot; the first is appended when missing
    bool allowsOtherFileTypes = false;

    /// Returns at once; `chosen` gets the path when the user confirms, and is not called otherwise.
    void beginSheet(QWidget* window, std::function<void(const QString& path)> chosen) const;

private:
    /// `path` with an extension that is allowed.
    QString completed(const QString& path) const;
};

} // namespace platform
