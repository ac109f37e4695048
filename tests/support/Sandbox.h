#pragma once

#include <QString>
#include <QTemporaryDir>

namespace support {

/// Gives the process folders of its own in place of the user's (HOME and every XDG folder), UTC,
/// an English locale, an offscreen screen unless another is asked for, no session bus
/// and no camera.
/// Made before the application object; everything is gone with it.
class Sandbox {
public:
    Sandbox();

    QString path(const QString& name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

} // namespace support
