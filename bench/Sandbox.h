#pragma once

#include "platform/services/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

/// Shared by benchmarks: folders of their own, and memory figures.
namespace bench {

/// Temporary data folders in the working folder, since /tmp may not be on a disk. Created before
/// the application object.
class Sandbox {
public:
    Sandbox()
        : m_folder(QDir::current().filePath(QStringLiteral("bench-XXXXXX")))
    {
        for (const char* variable : { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME" }) {
            const QString path = m_folder.filePath(QString::fromLatin1(variable));
            QDir().mkpath(path);
            qputenv(variable, path.toUtf8());
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }

private:
    QTemporaryDir m_folder;
};

inline void emptyDataFolder()
{
    QDir(platform::StandardFolders::applicationSupport() + QStringLiteral("/Vellumcap"))
        .removeRecursively();
}

inline double residentMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray text = status.readAll();
    const qsizetype at = text.indexOf("VmRSS:");
    return text.mid(at + 6, 20).trimmed().split(' ').first().toDouble() / 1024;
}

} // namespace bench
