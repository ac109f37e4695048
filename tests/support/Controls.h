#pragma once

#include "platform/ui/TextField.h"
#include "platform/ui/WindowController.h"

#include <QAbstractButton>
#include <QTest>

namespace support {

/// The control of that object name in the controller's window. Fails the process when there is
/// none.
template <typename Control>
Control* control(platform::WindowController& controller, const char* name)
{
    auto* found = controller.window()->findChild<Control*>(QString::fromLatin1(name));
    if (found == nullptr) {
        qFatal("The window has no %s of the name %s", Control::staticMetaObject.className(), name);
    }
    return found;
}

inline void click(platform::WindowController& controller, const char* button)
{
    QTest::mouseClick(control<QAbstractButton>(controller, button), Qt::LeftButton);
}

/// The text that the window shows in its "textField".
inline QString shownText(platform::WindowController& controller)
{
    return control<platform::TextField>(controller, "textField")->stringValue();
}

} // namespace support
