#pragma once

#include <QStringList>
#include <QTemporaryDir>

namespace support {

/// The default handler of web links and folders: records what it is asked to open. Create one per
/// process, before anything is opened.
class Browser {
public:
    Browser();

    QStringList opened() const; ///< URLs in the order of opening
    void forget();

private:
    QString notesPath() const { return m_folder.filePath(QStringLiteral("opened")); }

    QTemporaryDir m_folder;
};

} // namespace support
