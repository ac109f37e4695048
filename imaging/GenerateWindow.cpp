#include "imaging/GenerateWindow.h"

#include "app/StoreStack.h"
#include "imaging/CodeBitmap.h"
#include "platform/barcode/QRCodeGenerator.h"
#include "platform/services/Log.h"
#include "ui_GenerateWindow.h"

#include <QDialog>
#include <QLocale>
#include <QStringEncoder>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

QString failureOf(const QByteArray& message)
{
    const qsizetype excess = platform::QRCodeGenerator::excessBytes(message);
    const QString count = QLocale().toString(excess);
    return excess == 1
        ? GenerateWindow::tr("This text is 1 byte too long for a code.\nShorten it to go on.")
        : GenerateWindow::tr("This text is %1 bytes too long for a code.\nShorten it to go on.")
              .arg(count);
}

} // namespace

GenerateWindow::GenerateWindow()
    : m_ui(std::make_unique<Ui::GenerateWindow>())
    , m_generatedData(u""_s)
{
}

GenerateWindow::~GenerateWindow() = default;

std::unique_ptr<QWidget> GenerateWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    connect(m_ui->textField, &platform::TextField::textChanged, this,
        &GenerateWindow::controlTextDidChange);
    connect(m_ui->textField, &platform::TextField::action, this, &GenerateWindow::setText);
    connect(m_ui->buttonGenerate, &QPushButton::clicked, this, &GenerateWindow::generateCode);
    connect(m_ui->buttonClose, &QPushButton::clicked, this, &GenerateWindow::cancelGenerate);
    connect(m_ui->buttonSave, &QPushButton::clicked, this, &GenerateWindow::saveGenerate);
    return window;
}

void GenerateWindow::windowDidLoad()
{
    WindowController::windowDidLoad();
    m_ui->imageWell->setAllowDrop(false);
    updateUI();
}

QString GenerateWindow::hint() const
{
    if (!m_failure.isEmpty()) {
        return m_failure;
    }
    return m_canGenerate ? tr("Press Generate to draw the code") : tr("Type or paste a text above");
}

void GenerateWindow::updateUI()
{
    m_ui->buttonSave->setEnabled(m_canSave);
    m_ui->buttonGenerate->setEnabled(m_canGenerate);
    m_ui->imageWell->setEnabled(m_canSave);
    if (!m_canSave) {
        m_ui->imageWell->setImage(QImage());
    }
    m_ui->labelWell->setText(hint());
    m_ui->labelWell->setVisible(!m_canSave);
}

void GenerateWindow::controlTextDidChange()
{
    const QString text = m_ui->textField->stringValue();
    if (text.isEmpty()) {
        m_canGenerate = false;
        m_canSave = false;
        m_failure.clear();
        updateUI();
        return;
    }
    if (m_generatedData != text) {
        m_canGenerate = true;
        m_canSave = false;
        m_failure.clear();
        updateUI();
    }
    m_generatedData = text;
}

void GenerateWindow::generateCode()
{
    platform::log(u"Generate"_s);
    const QByteArray message = m_generatedData.toUtf8();
    m_generatedImage = codeBitmap(platform::QRCodeGenerator::outputImage(message));
    m_ui->imageWell->setImage(m_generatedImage);
    m_canSave = !m_generatedImage.isNull();
    m_canGenerate = false;
    m_failure = m_canSave ? QString() : failureOf(message);
    updateUI();
}

void GenerateWindow::saveGenerate()
{
    StoreStack::shared().storeCapture(m_generatedImage, m_generatedData);
}

void GenerateWindow::cancelGenerate()
{
    endSheetLater();
}

void GenerateWindow::setText() { }

bool GenerateWindow::windowShouldClose()
{
    cancelGenerate();
    return false;
}

} // namespace vellumcap
