#include "tests/support/Alerts.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace support {

void onNextAlert(std::function<void(QMessageBox&)> answer)
{
    QTimer::singleShot(0, qApp, [answer = std::move(answer)] {
        auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (alert == nullptr) {
            onNextAlert(answer);
            return;
        }
        answer(*alert);
    });
}

void answerNextAlert(int button, QList<AlertSeen>& seen)
{
    onNextAlert([button, &seen](QMessageBox& alert) {
        QList<QAbstractButton*> buttons = alert.buttons();
        std::sort(buttons.begin(), buttons.end(), [](const auto* left, const auto* right) {
            return left->mapToGlobal(QPoint()).x() < right->mapToGlobal(QPoint()).x();
        });
        AlertSeen texts{ alert.text(), alert.informativeText(), {} };
        for (const QAbstractButton* each : buttons) {
            texts.buttons.append(each->text().remove(u'&'));
        }
        seen.append(texts);
        buttons.at(button)->click();
    });
}

} // namespace support
