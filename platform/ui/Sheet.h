#pragma once

#include <functional>

class QWidget;

/// A sheet is a dialog that is modal to one window and attached to it. A window has at most one.
namespace platform {

QWidget* attachedSheet(const QWidget* window); ///< null when there is none
QWidget* sheetParent(const QWidget* sheet); ///< null when it is not attached

/// Shows `sheet` as a sheet of `window`, and shows a hidden window first. No effect while another
/// sheet is attached. The caller keeps the ownership of the sheet.
void beginSheet(QWidget* window, QWidget* sheet, std::function<void()> completion = {});

/// Detaches the sheet and calls its completion handler. The caller has to hide the sheet.
void endSheet(QWidget* sheet);

} // namespace platform
