#include "watch/ScriptFolder.h"

#include "platform/services/Log.h"
#include "platform/services/StandardFolders.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

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
    // Entries of every kind, also broken links, but no hidden ones.
    const auto entries = QDir(folder.toLocalFile())
                             .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot,
                                 QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        if (entry.suffix() == u"scpt"_s) {
            const QUrl location = QUrl::fromLocalFile(entry.absoluteFilePath());
            platform::log(u"Found a script! "_s + location.toString(QUrl::FullyEncoded));
            scripts.insert(entry.fileName(), location);
        }
    }
    return scripts;
}

} // namespace vellumcap
