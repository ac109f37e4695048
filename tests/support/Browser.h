#pragma once

#include <QStringList>
#include <QTemporaryDir>

namespace support {

/// The default handler of web links and folders, which notes down what it is asked to open. Made
/// once in a process, before anything is opened.
class Browser {
public:
    Browser();

    QStringList opened() const; ///< in order
    void forget();

private:
    QString notesPath() const { return m_folder.filePath(QStringLiteral("opened")); }

    QTemporaryDir m_folder;
};

} // namespace support
