#include "imaging/ImportWindow.h"

#include "camera/Detection.h"
#include "camera/OfferControls.h"
#include "platform/services/Dispatch.h"
#include "ui_ImportWindow.h"

#include <QDialog>

namespace vellumcap {

ImportWindow::ImportWindow()
    : m_ui(std::make_unique<Ui::ImportWindow>())
{
}

ImportWindow::~ImportWindow() = default;

std::unique_ptr<QWidget> ImportWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    m_controls = std::make_unique<OfferControls>(
        OfferControls::Widgets{
            *m_ui->textField, *m_ui->buttonSave, *m_ui->buttonSkip, *m_ui->buttonOpenLink },
        m_offer);
    connect(m_ui->imageWell, &platform::ImageWell::imagePlaced, this, &ImportWindow::setImage);
    connect(m_ui->buttonSkip, &QPushButton::clicked, this, &ImportWindow::skipCapture);
    connect(m_ui->buttonClose, &QPushButton::clicked, this, &ImportWindow::cancelCapture);
    connect(m_ui->buttonSave, &QPushButton::clicked, this, &ImportWindow::saveCapture);
    connect(m_ui->buttonOpenLink, &QPushButton::clicked, this, &ImportWindow::openLink);
    return window;
}

void ImportWindow::setImage()
{
    resetCapturing();
    m_ui->labelDragImage->hide();
    const QImage bitmap = m_ui->imageWell->image();
    if (bitmap.isNull()) {
        return;
    }
    examine(bitmap, {}, m_offer, [this, guard = lifeGuard()](const AcceptedCode& /*code*/) {
        platform::dispatchMain(guard, [this] { confirmCapture(); });
    });
}

void ImportWindow::confirmCapture()
{
    m_controls->showOffer();
}

void ImportWindow::resetCapturing()
{
    m_controls->clearOffer();
    m_ui->labelDragImage->show();
}

void ImportWindow::resumeCapturing()
{
    m_controls->clearOffer();
    m_ui->imageWell->setImage(QImage());
    m_ui->labelDragImage->show();
    m_offer->setCaptureState(0);
}

void ImportWindow::skipCapture()
{
    resumeCapturing();
}

void ImportWindow::saveCapture()
{
    m_controls->storeCode();
    skipCapture();
}

void ImportWindow::openLink()
{
    m_controls->openLink();
}

void ImportWindow::cancelCapture()
{
    endSheetLater();
}

bool ImportWindow::windowShouldClose()
{
    cancelCapture();
    return false;
}

} // namespace vellumcap
