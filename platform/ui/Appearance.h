#pragma once

#include <QObject>
#include <QPalette>

#include <memory>

namespace platform {

class ColorScheme;

/// The look that all windows share: one style, a light and a dark palette, and the rules for
/// widgets that say what they are by a dynamic property ("heading", "secondary", "prominent",
/// "onGray"). Follows the desktop's preference while it lives. Main thread.
class Appearance : public QObject {
    Q_OBJECT
public:
    explicit Appearance(QObject* parent = nullptr);
    ~Appearance() override;

    static QPalette palette(bool dark);
    /// Dresses the application; what the constructor does with the desktop's preference.
    static void apply(bool dark);

private:
    std::unique_ptr<ColorScheme> m_colorScheme;
};

} // namespace platform
