#pragma once

#include <QString>
#include <QTemporaryDir>

namespace support {

/// Replaces the user's folders (HOME and the XDG folders) by temporary ones for this process, and
/// sets UTC, an English locale, no session bus, no cameras, and the offscreen platform unless
/// VELLUMCAP_TEST_ON_SCREEN is set. Create it before the application object. The destructor removes
/// the folders.
class Sandbox {
public:
    Sandbox();

    QString path(const QString& name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

} // namespace support
