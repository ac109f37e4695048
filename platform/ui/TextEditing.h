#pragma once

class QString;
class QWidget;

/// The standard edit commands, by the names of their menu items ("undo", "redo", "cut", "copy",
/// "paste", "selectAll"), of whatever text widget has the focus. Main thread.
namespace platform::TextEditing {

/// The widget that holds the text of `focus`: itself, or the field inside it; null when there is
/// no text to edit or select.
QWidget* textWidget(QWidget* focus);

bool isCommand(const QString& name);
bool isEnabled(const QString& name, QWidget& textWidget);
void perform(const QString& name, QWidget& textWidget);

} // namespace platform::TextEditing
