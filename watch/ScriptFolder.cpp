#include "watch/ScriptFolder.h"

#include "platform/services/Log.h"
#include "platform/services/StandardFolders.h"

#include <QDir>
#include <QFileInfo>

namespace vellumcap {

QUrl scriptFolder()
{
    using platform::StandardFolders::Creation;
    const QString path = platform::StandardFolders::applicationScripts(Creation::Yes);
    return path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path);
}

ScriptTable scanScriptFolder()
{
    const QUrl folder = scriptFolder();
    if (folder.isEmpty()) {
        return {};
    }
    ScriptTable scripts;
    // Whatever stands there, broken links too; but nothing hidden.
    const auto entries = QDir(folder.toLocalFile())
                             .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot,
                                 QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        if (entry.suffix() == QStringLiteral("scpt")) {
            const QUrl location = QUrl::fromLocalFile(entry.absoluteFilePath());
            platform::log(
                QStringLiteral("Found a script! ") + location.toString(QUrl::FullyEncoded));
            scripts.insert(entry.fileName(), location);
        }
    }
    return scripts;
}

} // namespace vellumcap
