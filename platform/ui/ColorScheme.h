#pragma once

#include <QObject>

class QVariant;

namespace platform {

/// Whether the desktop prefers dark windows: the color-scheme setting of the desktop portal
/// (org.freedesktop.appearance), else the lightness of the desktop's palette. Main thread.
class ColorScheme : public QObject {
    Q_OBJECT
public:
    ColorScheme();
    bool prefersDark() const { return m_dark; }

Q_SIGNALS:
    void changed();

private:
    void askPortal();
    void follow(const QVariant& setting);

    const bool m_paletteIsDark;
    bool m_dark;
};

} // namespace platform
