#include "platform/ui/Alert.h"

#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// Adds break opportunities to long runs without spaces, such as paths, which would otherwise make
/// the alert too wide.
QString breakable(const QString& text)
{
    constexpr int longestRun = 80;
    QString result;
    int run = 0;
    for (const QChar character : text) {
        run = character.isSpace() ? 0 : run + 1;
        if (run > longestRun && !character.isLowSurrogate()) {
            result += QChar(0x200B); // zero width space
            run = 1;
        }
        result += character;
    }
    return result;
}

/// QMessageBox::setTextFormat() does not apply to the informative text.
void showPlainText(QMessageBox& box)
{
    const auto labels = box.findChildren<QLabel*>();
    for (QLabel* label : labels) {
        label->setTextFormat(Qt::PlainText);
        label->setOpenExternalLinks(false);
        label->setWordWrap(label->wordWrap() || !label->text().isEmpty());
    }
}

} // namespace

int Alert::runModal(QWidget* parent) const
{
    QMessageBox box(parent);
    box.setWindowModality(Qt::ApplicationModal);
    box.setIcon(QMessageBox::Warning);
    box.setTextFormat(Qt::PlainText);
    box.setText(breakable(messageText));
    box.setInformativeText(breakable(informativeText));
    showPlainText(box);

    QList<QPushButton*> pushButtons;
    for (const QString& title : buttons) {
        // The box sorts buttons by role, and keeps the order within a role.
        pushButtons.append(box.addButton(title, QMessageBox::ActionRole));
    }
    box.setDefaultButton(pushButtons.first());
    const qsizetype cancel = buttons.indexOf(u"Cancel"_s);
    const qsizetype escape = cancel >= 0 ? cancel : buttons.size() - 1;
    box.setEscapeButton(pushButtons.at(escape));
    box.exec();
    const qsizetype pressed = pushButtons.indexOf(static_cast<QPushButton*>(box.clickedButton()));
    return static_cast<int>(pressed >= 0 ? pressed : escape);
}

} // namespace platform
