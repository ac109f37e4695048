#pragma once

#include "camera/CodeOnOffer.h"
#include "platform/ui/WindowController.h"

#include <QImage>

#include <memory>
#include <optional>

namespace Ui {
class ImportWindow;
}

namespace vellumcap {

class OfferControls;

/// Reads a code from a picture that the user puts into its well, and offers to save it. A sheet of
/// the journal window, created for each import. Main thread.
class ImportWindow : public platform::WindowController {
    Q_OBJECT
public:
    ImportWindow();
    ~ImportWindow() override;

    /// 0: waiting; 1: a code is on offer. For information only.
    qint32 captureState() const { return m_offer->captureState(); }
    /// The text of the last code offered; stays when the offer is cleared.
    std::optional<QString> captureData() const { return m_offer->captureData(); }
    /// The bitmap in which that code was found.
    QImage capturedImage() const { return m_offer->capturedImage(); }

    /// The well's action: examines its picture.
    void setImage();
    void confirmCapture();
    void resetCapturing(); ///< clears the offer; the well keeps its picture
    void resumeCapturing(); ///< clears the offer and the well

    void skipCapture();
    void saveCapture();
    void openLink();
    void cancelCapture();

protected:
    std::unique_ptr<QWidget> loadWindow() override;
    bool windowShouldClose() override;

private:
    std::unique_ptr<Ui::ImportWindow> m_ui;
    std::shared_ptr<CodeOnOffer> m_offer = std::make_shared<CodeOnOffer>();
    std::unique_ptr<OfferControls> m_controls;
};

} // namespace vellumcap
