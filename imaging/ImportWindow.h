#pragma once

#include "camera/CodeOnOffer.h"
#include "platform/ui/WindowController.h"

#include <QImage>

#include <memory>
#include <optional>

class QLabel;
class QPushButton;

namespace Ui {
class ImportWindow;
}

namespace platform {
class ImageWell;
class TextField;
} // namespace platform

namespace vellumcap {

/// Reads a code from a picture that the user puts into its well, and offers to keep it. A sheet of
/// the journal; a new one for every import. Main thread, but for the detection, which shares the
/// code on offer with it.
class ImportWindow : public platform::WindowController {
    Q_OBJECT
public:
    explicit ImportWindow(const QString& windowNibName);
    ~ImportWindow() override;

    // Outlets, null until the window is loaded.
    platform::ImageWell* imageWell = nullptr;
    QPushButton* buttonSkip = nullptr;
    QPushButton* buttonClose = nullptr;
    QPushButton* buttonSave = nullptr;
    QPushButton* buttonOpenLink = nullptr;
    platform::TextField* textField = nullptr;
    QLabel* labelDragImage = nullptr;

    /// 0: waiting; 1: a code is on offer. Nothing depends on it.
    qint32 captureState() const { return m_offer->captureState(); }
    /// The text of the last code offered; kept when the offer is cleared.
    std::optional<QString> captureData() const { return m_offer->captureData(); }
    /// The bitmap in which it was found.
    QImage capturedImage() const { return m_offer->capturedImage(); }

    /// The well's action: examines the picture that the well now holds.
    void setImage(QObject* sender);
    void confirmCapture();
    void resetCapturing(); ///< clears the offer; the well keeps its picture
    void resumeCapturing(); ///< clears the offer and the well

    void skipCapture(QObject* sender);
    void saveCapture(QObject* sender);
    void openLink(QObject* sender);
    void cancelCapture(QObject* sender);

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    bool windowShouldClose(QWidget* window) override;

private:
    void clearOffer();
    void enableButtonsForWaiting();

    std::unique_ptr<Ui::ImportWindow> m_ui;
    std::shared_ptr<CodeOnOffer> m_offer = std::make_shared<CodeOnOffer>();
};

} // namespace vellumcap
