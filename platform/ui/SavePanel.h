#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace platform {

/// Asks where to save a file, as a sheet on a window.
struct SavePanel {
    QString suggestedName; ///< without extension
    /// Extensions without dot, at least one; the first is appended to a name that has none of
    /// them.
    QStringList allowedFileTypes;

    /// Does not block. `chosen` receives the path when the user confirms, and is not called
    /// otherwise. No effect while the window has a sheet.
    void beginSheet(QWidget* window, std::function<void(const QString& path)> chosen) const;

private:
    /// `path` with an allowed extension.
    QString completed(const QString& path) const;
};

} // namespace platform
