#include "journal/JournalAppearance.h"

#include "app/Capture.h"
#include "platform/ui/SymbolIcon.h"
#include "ui_JournalWindow.h"

#include <QLocale>
#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

constexpr QSize leastCellSize(200, 72);
constexpr int placeholderPictureSize = 96;

QIcon icon(const char* name)
{
    return platform::symbolIcon(u":/icons/%1.svg"_s.arg(QLatin1StringView(name)));
}

QIcon programIcon()
{
    return QIcon(u":/icons/vellumcap.svg"_s);
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
    ui.selectedText->document()->setDocumentMargin(0); // aligned with the labels around it
    ui.placeholderPicture->setPixmap(
        programIcon().pixmap(QSize(placeholderPictureSize, placeholderPictureSize),
            ui.placeholderPicture->devicePixelRatioF()));
}

void describeCapture(Ui::JournalWindow& ui, const Capture& capture)
{
    const QDateTime date = capture.dateCaptured().toLocalTime();
    const QLocale locale;
    ui.selectedDate->setText(u"%1, %2"_s.arg(locale.toString(date.date(), QLocale::LongFormat),
        locale.toString(date.time(), QLocale::ShortFormat)));
}

void describePlaceholder(Ui::JournalWindow& ui, bool journalIsEmpty)
{
    ui.placeholderImport->setVisible(journalIsEmpty);
    if (journalIsEmpty) {
        ui.placeholderTitle->setText(u"Your journal is empty"_s);
        ui.placeholderMessage->setText(
            u"Every code that you keep appears here, by day, with its picture and your notes. Scan "
            "one with the camera, read one from a picture, or draw your own."_s);
    } else {
        ui.placeholderTitle->setText(u"No code selected"_s);
        ui.placeholderMessage->setText(
            u"Select a code on the left to see its picture, text and notes."_s);
    }
}

void showAbout(QWidget* parent)
{
    QMessageBox::about(parent, u"About Vellumcap"_s,
        u"<h3>Vellumcap %1</h3><p>Reads barcodes and QR codes, and keeps a journal "
        "of those that matter to you.</p>"_s.arg(QString::fromLatin1(VELLUMCAP_VERSION)));
}

} // namespace vellumcap
