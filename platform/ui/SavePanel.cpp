#include "platform/ui/SavePanel.h"

#include "platform/services/StandardFolders.h"
#include "platform/ui/Alert.h"
#include "platform/ui/Sheet.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QWidget>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("platform::SavePanel", text);
}

QString nameFilter(const QStringList& types)
{
    QStringList patterns;
    for (const QString& type : types) {
        patterns.append(u"*."_s + type);
    }
    return patterns.join(QLatin1Char(' '));
}

/// Asks before an existing file is replaced. The dialog asked only for the name without the
/// appended extension.
bool mayReplace(const QString& path, QWidget* window)
{
    if (!QFileInfo::exists(path)) {
        return true;
    }
    const Alert alert{
        .messageText
        = translated("“%1” already exists. Replace it?").arg(QFileInfo(path).fileName()),
        .informativeText = {},
        .buttons = { translated("Replace"), translated("Cancel") },
    };
    return alert.runModal(window) == 0;
}

} // namespace

QString SavePanel::completed(const QString& path) const
{
    const QString type = QFileInfo(path).suffix();
    return allowedFileTypes.contains(type, Qt::CaseInsensitive)
        ? path
        : path + QLatin1Char('.') + allowedFileTypes.first();
}

void SavePanel::beginSheet(QWidget* window, std::function<void(const QString& path)> chosen) const
{
    if (attachedSheet(window) != nullptr) {
        return;
    }
    auto* dialog = new QFileDialog(window, translated("Save"), StandardFolders::pictures());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(nameFilter(allowedFileTypes));
    dialog->setDefaultSuffix(allowedFileTypes.first());
    dialog->selectFile(completed(suggestedName));
    QObject::connect(dialog, &QDialog::finished, window,
        [panel = *this, dialog, window, chosen = std::move(chosen)](int result) {
            endSheet(dialog);
            const QStringList files = dialog->selectedFiles();
            if (result != QDialog::Accepted || files.isEmpty()) {
                return;
            }
            const QString path = panel.completed(files.first());
            if (path == files.first() || mayReplace(path, window)) {
                chosen(path);
            }
        });
    platform::beginSheet(window, dialog);
}

} // namespace platform
