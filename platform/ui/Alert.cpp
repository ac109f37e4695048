#include "platform/ui/Alert.h"

#include <QCoreApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

using Qt::StringLiterals::operator""_s;

namespace platform {
namespace {

/// Lets a label break a long run without spaces, such as a path, which would otherwise set the
/// width of the alert.
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

/// Of the labels inside, the box treats one as plain text and lets the other guess.
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

    const QString ok = QCoreApplication::translate("platform::Alert", "OK");
    const QStringList titles = buttons.isEmpty() ? QStringList{ ok } : buttons;
    QList<QAbstractButton*> pressable;
    for (const QString& title : titles) {
        // One role for all: the box orders by role, and keeps the order within one.
        pressable.append(box.addButton(title, QMessageBox::ActionRole));
    }
    box.setDefaultButton(static_cast<QPushButton*>(pressable.first()));
    const qsizetype cancel = titles.indexOf(u"Cancel"_s);
    const qsizetype escape = cancel >= 0 ? cancel : titles.size() - 1;
    box.setEscapeButton(pressable.at(escape));
    box.exec();
    const qsizetype pressed = pressable.indexOf(box.clickedButton());
    return static_cast<int>(pressed >= 0 ? pressed : escape);
}

} // namespace platform
