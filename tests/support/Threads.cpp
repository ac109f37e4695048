#include "tests/support/Threads.h"

#include <QDirIterator>
#include <QFile>

namespace support {

QStringList threadNames()
{
    QStringList names;
    QDirIterator tasks(QStringLiteral("/proc/self/task"), QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        QFile name(tasks.next() + QStringLiteral("/comm"));
        if (name.open(QFile::ReadOnly)) { // else it has just ended
            names.append(QString::fromUtf8(name.readAll()).trimmed());
        }
    }
    return names;
}

int threadsNamed(const QString& name)
{
    return int(threadNames().count(name));
}

} // namespace support
