#include "journal/JournalAppearance.h"

#include "app/Capture.h"
#include "platform/ui/SymbolIcon.h"
#include "ui_JournalWindow.h"

#include <QLocale>
#include <QMessageBox>

namespace vellumcap {

namespace {

constexpr QSize leastCellSize(200, 72);
constexpr int placeholderPictureSize = 96;

QIcon icon(const char* name)
{
    return platform::symbolIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1StringView(name)));
}

QIcon programIcon()
{
    return QIcon(QStringLiteral(":/icons/vellumcap.svg"));
}

} // namespace

void dressJournalWindow(Ui::JournalWindow& ui)
{
    ui.scan->setIcon(icon("scan"));
    ui.watch->setIcon(icon("watch"));
    ui.importImage->setIcon(icon("import"));
    ui.generate->setIcon(icon("generate"));
    ui.openLinkInSafari->setIcon(icon("open-link"));
    ui.saveImage->setIcon(icon("save-image"));
    ui.deleteCapture->setIcon(icon("delete"));
    ui.toolbar->setContextMenuPolicy(Qt::PreventContextMenu);
    ui.collectionView->setItemSize(leastCellSize);
    ui.collectionView->setSpacing(4);
    ui.splitView->setSizes({ 340, 700 });
    ui.splitView->setStretchFactor(0, 0);
    ui.splitView->setStretchFactor(1, 1);
    ui.selectedText->document()->setDocumentMargin(0); // in line with the labels around it
    ui.placeholderPicture->setPixmap(
        programIcon().pixmap(QSize(placeholderPictureSize, placeholderPictureSize),
            ui.placeholderPicture->devicePixelRatioF()));
}

void describeCapture(Ui::JournalWindow& ui, const Capture& capture)
{
    const QDateTime date = capture.dateCaptured().toLocalTime();
    const QLocale locale;
    ui.selectedDate->setText(
        QStringLiteral("%1, %2").arg(locale.toString(date.date(), QLocale::LongFormat),
            locale.toString(date.time(), QLocale::ShortFormat)));
}

void describePlaceholder(Ui::JournalWindow& ui, bool journalIsEmpty)
{
    ui.placeholderImport->setVisible(journalIsEmpty);
    if (journalIsEmpty) {
        ui.placeholderTitle->setText(QStringLiteral("Your journal is empty"));
        ui.placeholderMessage->setText(QStringLiteral(
            "Every code that you keep appears here, by day, with its picture and your notes. Scan "
            "one with the camera, read one from a picture, or draw your own."));
    } else {
        ui.placeholderTitle->setText(QStringLiteral("No code selected"));
        ui.placeholderMessage->setText(
            QStringLiteral("Select a code on the left to see its picture, text and notes."));
    }
}

void showAbout(QWidget* parent)
{
    QMessageBox::about(parent, QStringLiteral("About Vellumcap"),
        QStringLiteral("<h3>Vellumcap %1</h3><p>Reads barcodes and QR codes, and keeps a journal "
                       "of those that matter to you.</p>")
            .arg(QStringLiteral(VELLUMCAP_VERSION)));
}

} // namespace vellumcap
