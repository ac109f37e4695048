#include "imaging/GenerateWindow.h"

#include "app/StoreStack.h"
#include "imaging/CodeBitmap.h"
#include "imaging/DragDropImageView.h"
#include "platform/barcode/QRCodeGenerator.h"
#include "platform/services/Dispatch.h"
#include "platform/services/Log.h"
#include "ui_GenerateWindow.h"

#include <QDialog>
#include <QLocale>
#include <QStringEncoder>

using Qt::StringLiterals::operator""_s;

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

GenerateWindow::GenerateWindow(const QString& windowNibName)
    : WindowController(windowNibName)
    , m_ui(std::make_unique<Ui::GenerateWindow>())
{
}

GenerateWindow::~GenerateWindow() = default;

std::unique_ptr<QWidget> GenerateWindow::loadWindow()
{
    auto window = std::make_unique<QDialog>();
    m_ui->setupUi(window.get());
    imageWell = m_ui->imageWell;
    buttonGenerate = m_ui->buttonGenerate;
    buttonClose = m_ui->buttonClose;
    buttonSave = m_ui->buttonSave;
    textField = m_ui->textField;
    connect(
        textField, &platform::TextField::textChanged, this, &GenerateWindow::controlTextDidChange);
    connect(textField, &platform::TextField::action, this, [this] { setText(textField); });
    connect(buttonGenerate, &QPushButton::clicked, this, [this] { generateCode(buttonGenerate); });
    connect(buttonClose, &QPushButton::clicked, this, [this] { cancelGenerate(buttonClose); });
    connect(buttonSave, &QPushButton::clicked, this, [this] { saveGenerate(buttonSave); });
    return window;
}

void GenerateWindow::windowDidLoad()
{
    WindowController::windowDidLoad();
    imageWell->setAllowDrop(false);
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
    buttonSave->setEnabled(m_canSave);
    buttonGenerate->setEnabled(m_canGenerate);
    imageWell->setEnabled(m_canSave);
    if (!m_canSave) {
        imageWell->setImage(QImage());
    }
    m_ui->labelWell->setText(hint());
    m_ui->labelWell->setVisible(!m_canSave);
}

void GenerateWindow::controlTextDidChange()
{
    const QString text = textField->stringValue();
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

void GenerateWindow::generateCode(QObject* /*sender*/)
{
    platform::log(u"Generate"_s);
    const QByteArray message = m_generatedData.toUtf8();
    m_generatedImage = codeBitmap(platform::QRCodeGenerator::outputImage(message));
    imageWell->setImage(m_generatedImage);
    m_canSave = !m_generatedImage.isNull();
    m_canGenerate = false;
    m_failure = m_canSave ? QString() : failureOf(message);
    updateUI();
}

void GenerateWindow::saveGenerate(QObject* /*sender*/)
{
    StoreStack::shared().storeCapture(m_generatedImage, m_generatedData);
}

void GenerateWindow::cancelGenerate(QObject* /*sender*/)
{
    platform::dispatchMain(
        lifeGuard(), [this] { platform::Application::shared().endSheet(window()); });
    window()->hide();
}

void GenerateWindow::setText(QObject* /*sender*/) { }

bool GenerateWindow::windowShouldClose(QWidget* /*window*/)
{
    cancelGenerate(nullptr);
    return false;
}

} // namespace vellumcap
