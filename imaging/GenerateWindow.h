#pragma once

#include "platform/ui/WindowController.h"

#include <QImage>

#include <memory>

namespace Ui {
class GenerateWindow;
}

namespace vellumcap {

/// Draws a QR code of a text that the user types. The picture can be saved in the journal or
/// dragged out. A sheet of the journal window, created each time. Main thread.
class GenerateWindow : public platform::WindowController {
    Q_OBJECT
public:
    GenerateWindow();
    ~GenerateWindow() override;

    bool canSave() const { return m_canSave; } ///< the well shows the code of generatedData()
    /// The text has changed since generateCode().
    bool canGenerate() const { return m_canGenerate; }
    QImage generatedImage() const { return m_generatedImage; } ///< grey; null at first
    /// The last text in the field that was not empty.
    QString generatedData() const { return m_generatedData; }

    void updateUI();
    /// The user has changed the text.
    void controlTextDidChange();
    /// Draws the code. If the text is too long for a code, the well shows a message instead.
    void generateCode();
    void saveGenerate(); ///< each call stores another capture
    void cancelGenerate();
    /// The text field's action, sent by Return. Does nothing: only the button generates.
    void setText();

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    void windowDidLoad() override;
    bool windowShouldClose() override;

private:
    QString hint() const;

    std::unique_ptr<Ui::GenerateWindow> m_ui;
    bool m_canSave = false;
    bool m_canGenerate = false;
    QImage m_generatedImage;
    QString m_generatedData;
    QString m_failure; ///< why there is no code of generatedData()
};

} // namespace vellumcap
