#include "platform/ui/TextEditing.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextDocument>
#include <QTextEdit>

#include <algorithm>

namespace platform::TextEditing {
namespace {

/// The state of a text widget. The three kinds of text widget have no base class for it.
struct TextState {
    bool isEditable = false;
    bool hasText = false;
    bool hasSelection = false;
    bool canUndo = false;
    bool canRedo = false;
};

TextState stateOf(const QLineEdit& field)
{
    const bool isReadable = field.echoMode() == QLineEdit::Normal;
    return { !field.isReadOnly(), !field.text().isEmpty(), field.hasSelectedText() && isReadable,
        field.isUndoAvailable(), field.isRedoAvailable() };
}

template <typename Edit> TextState stateOfEdit(const Edit& edit)
{
    const bool isEditable = !edit.isReadOnly();
    return { isEditable, !edit.document()->isEmpty(), edit.textCursor().hasSelection(),
        isEditable && edit.document()->isUndoAvailable(),
        isEditable && edit.document()->isRedoAvailable() };
}

TextState stateOf(const QWidget& widget)
{
    if (const auto* field = qobject_cast<const QLineEdit*>(&widget)) {
        return stateOf(*field);
    }
    if (const auto* edit = qobject_cast<const QPlainTextEdit*>(&widget)) {
        return stateOfEdit(*edit);
    }
    return stateOfEdit(*qobject_cast<const QTextEdit*>(&widget));
}

struct Command {
    const char* name; ///< of the menu item, and of the slot that all text widgets have
    bool (*isEnabled)(const TextState& state);
};

// Paste does not depend on the clipboard, since reading it may block.
constexpr Command commands[] = {
    { "undo", [](const TextState& state) { return state.canUndo; } },
    { "redo", [](const TextState& state) { return state.canRedo; } },
    { "cut", [](const TextState& state) { return state.isEditable && state.hasSelection; } },
    { "copy", [](const TextState& state) { return state.hasSelection; } },
    { "paste", [](const TextState& state) { return state.isEditable; } },
    { "selectAll", [](const TextState& state) { return state.hasText; } },
};

const Command* commandNamed(const QString& name)
{
    const auto* found = std::find_if(std::begin(commands), std::end(commands),
        [&name](const Command& command) { return name == QLatin1StringView(command.name); });
    return found == std::end(commands) ? nullptr : found;
}

} // namespace

QWidget* textWidget(QWidget* focus)
{
    if (qobject_cast<QAbstractSpinBox*>(focus) != nullptr
        || qobject_cast<QComboBox*>(focus) != nullptr) {
        return focus->findChild<QLineEdit*>();
    }
    const bool isText = qobject_cast<QLineEdit*>(focus) != nullptr
        || qobject_cast<QPlainTextEdit*>(focus) != nullptr
        || qobject_cast<QTextEdit*>(focus) != nullptr;
    return isText ? focus : nullptr;
}

bool isCommand(const QString& name)
{
    return commandNamed(name) != nullptr;
}

bool isEnabled(const QString& name, QWidget& textWidget)
{
    const Command* command = commandNamed(name);
    return command != nullptr && command->isEnabled(stateOf(textWidget));
}

void perform(const QString& name, QWidget& textWidget)
{
    if (const Command* command = commandNamed(name)) {
        QMetaObject::invokeMethod(&textWidget, command->name);
    }
}

} // namespace platform::TextEditing
