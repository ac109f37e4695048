#pragma once

#include "platform/ui/ColorScheme.h"

namespace platform {

/// The look of all windows: one style, a light and a dark palette, and style rules for widgets
/// with the dynamic properties "heading", "secondary", "prominent" and "onGray". Follows the
/// desktop's light or dark preference during its lifetime. Main thread.
class Appearance {
public:
    Appearance();

private:
    ColorScheme m_colorScheme;
};

} // namespace platform
