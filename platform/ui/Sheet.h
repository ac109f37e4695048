#pragma once

#include <functional>

class QWidget;

/// A sheet is a dialog that is modal to one window and attached to it; a window has at most one.
namespace platform {

QWidget* attachedSheet(const QWidget* window); ///< nullptr when there is none
QWidget* sheetParent(const QWidget* sheet); ///< nullptr when it is no sheet now

/// Shows `sheet` as a sheet of `window`, which is shown too when it is hidden. Ignored while
/// another is attached.
void beginSheet(QWidget* window, QWidget* sheet, std::function<void()> completion = {});

/// Detaches the sheet and calls its completion handler; ordering it out is the caller's.
void endSheet(QWidget* sheet);

} // namespace platform
