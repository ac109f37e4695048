#include "tests/support/Threads.h"

#include <QDirIterator>
#include <QFile>

using namespace Qt::StringLiterals;

namespace support {

QStringList threadNames()
{
    QStringList names;
    QDirIterator tasks(u"/proc/self/task"_s, QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        QFile name(tasks.next() + u"/comm"_s);
        if (name.open(QFile::ReadOnly)) { // else the thread has just ended
            names.append(QString::fromUtf8(name.readAll()).trimmed());
        }
    }
    return names;
}

int threadsNamed(const QString& name)
{
    return static_cast<int>(threadNames().count(name));
}

} // namespace support
