#pragma once

#include "tests/support/Pictures.h"

#include <QTemporaryDir>

namespace support {

/// A folder for the files of one test; removed on destruction.
class TemporaryFiles {
public:
    /// Writes the file and returns its path.
    QString add(const QString& name, const QByteArray& content) const
    {
        writeFile(path(name), content);
        return path(name);
    }
    QString path(const QString& name) const { return m_folder.filePath(name); }
    QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
};

} // namespace support
