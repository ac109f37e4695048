#pragma once

class QString;
class QWidget;

/// The standard edit commands of text widgets, by the names of their menu items: "undo", "redo",
/// "cut", "copy", "paste", "selectAll". Main thread.
namespace platform::TextEditing {

/// The text widget of `focus`: itself or the field inside it. Null when it has no text to edit or
/// select.
QWidget* textWidget(QWidget* focus);

bool isCommand(const QString& name);
bool isEnabled(const QString& name, QWidget& textWidget);
void perform(const QString& name, QWidget& textWidget);

} // namespace platform::TextEditing
