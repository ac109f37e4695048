#pragma once

#include <memory>

class QPushButton;

namespace platform {
class TextField;
}

namespace vellumcap {

class CodeOnOffer;

/// The controls of a sheet that offers one code at a time: the code's text and the buttons Save,
/// Skip and Open Link. Main thread.
class OfferControls {
public:
    /// Borrowed from the window.
    struct Widgets {
        platform::TextField& textField;
        QPushButton& buttonSave;
        QPushButton& buttonSkip;
        QPushButton& buttonOpenLink;
    };

    OfferControls(Widgets widgets, std::shared_ptr<CodeOnOffer> offer);

    /// Shows the text of the code on offer and enables the buttons; Open Link only for a link.
    void showOffer();
    /// Clears the text, disables the buttons and drops the picture of the code on offer. Its text
    /// stays, so that the same code is not offered again.
    void clearOffer();

    void storeCode() const; ///< in the journal
    void openLink() const; ///< in the default browser

private:
    Widgets m_widgets;
    std::shared_ptr<CodeOnOffer> m_offer;
};

} // namespace vellumcap
