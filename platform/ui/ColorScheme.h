#pragma once

#include <QObject>

class QVariant;

namespace platform {

/// Whether the desktop prefers dark windows: the appearance setting of the desktop portal
/// (org.freedesktop.appearance color-scheme), else what the desktop's palette says.
class ColorScheme : public QObject {
    Q_OBJECT
public:
    explicit ColorScheme(QObject* parent = nullptr);
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
