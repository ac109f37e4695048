#include "imaging/ImportWindow.h"

#include "app/Capture.h"
#include "app/StoreStack.h"
#include "camera/Detection.h"
#include "platform/services/Dispatch.h"
#include "platform/services/Workspace.h"
#include "ui_ImportWindow.h"

#include <QDialog>
#include <QUrl>

namespace vellumcap {

ImportWindow::ImportWindow(const QString& windowNibName)
    : WindowController(windowNibName)
    , m_ui(std::make_unique<Ui::ImportWindow>())
{
}

ImportWindow::~ImportWindow() = default;

std::unique_ptr<QWidget> ImportWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    imageWell = m_ui->imageWell;
    buttonSkip = m_ui->buttonSkip;
    buttonClose = m_ui->buttonClose;
    buttonSave = m_ui->buttonSave;
    buttonOpenLink = m_ui->buttonOpenLink;
    textField = m_ui->textField;
    labelDragImage = m_ui->labelDragImage;
    connect(imageWell, &platform::ImageWell::imagePlaced, this, [this] { setImage(imageWell); });
    connect(buttonSkip, &QPushButton::clicked, this, [this] { skipCapture(buttonSkip); });
    connect(buttonClose, &QPushButton::clicked, this, [this] { cancelCapture(buttonClose); });
    connect(buttonSave, &QPushButton::clicked, this, [this] { saveCapture(buttonSave); });
    connect(buttonOpenLink, &QPushButton::clicked, this, [this] { openLink(buttonOpenLink); });
    return window;
}

void ImportWindow::setImage(QObject* /*sender*/)
{
    resetCapturing();
    labelDragImage->hide();
    const QImage bitmap = imageWell->image();
    if (bitmap.isNull()) {
        return;
    }
    examine(bitmap, {}, m_offer, [this, guard = lifeGuard()](const AcceptedCode& /*code*/) {
        platform::dispatchMain(guard, [this] { confirmCapture(); });
    });
}

void ImportWindow::confirmCapture()
{
    const QString text = captureData().value_or(QString());
    textField->setStringValue(text);
    buttonOpenLink->setEnabled(Capture::isUrl(text));
    buttonSave->setEnabled(true);
    buttonSkip->setEnabled(true);
    buttonClose->setEnabled(true);
}

void ImportWindow::clearOffer()
{
    textField->setStringValue(QString());
    m_offer->setCapturedImage(QImage());
}

void ImportWindow::enableButtonsForWaiting()
{
    buttonOpenLink->setEnabled(false);
    buttonSave->setEnabled(false);
    buttonSkip->setEnabled(false);
    buttonClose->setEnabled(true);
}

void ImportWindow::resetCapturing()
{
    clearOffer();
    enableButtonsForWaiting();
    labelDragImage->show();
}

void ImportWindow::resumeCapturing()
{
    clearOffer();
    imageWell->setImage(QImage());
    enableButtonsForWaiting();
    labelDragImage->show();
    m_offer->setCaptureState(0);
}

void ImportWindow::skipCapture(QObject* /*sender*/)
{
    resumeCapturing();
}

void ImportWindow::saveCapture(QObject* sender)
{
    StoreStack::shared().storeCapture(capturedImage(), captureData().value_or(QString()));
    skipCapture(sender);
}

void ImportWindow::openLink(QObject* /*sender*/)
{
    platform::Workspace::open(QUrl(captureData().value_or(QString()), QUrl::StrictMode));
}

void ImportWindow::cancelCapture(QObject* /*sender*/)
{
    platform::dispatchMain(
        lifeGuard(), [this] { platform::Application::shared().endSheet(window()); });
    window()->hide();
}

bool ImportWindow::windowShouldClose(QWidget* /*window*/)
{
    cancelCapture(nullptr);
    return false;
}

} // namespace vellumcap
