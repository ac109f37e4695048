#include "camera/OfferControls.h"

#include "app/Capture.h"
#include "app/StoreStack.h"
#include "camera/CodeOnOffer.h"
#include "platform/services/Workspace.h"
#include "platform/ui/TextField.h"

#include <QPushButton>

#include <utility>

namespace vellumcap {

OfferControls::OfferControls(Widgets widgets, std::shared_ptr<CodeOnOffer> offer)
    : m_widgets(widgets)
    , m_offer(std::move(offer))
{
}

void OfferControls::showOffer()
{
    const QString text = m_offer->captureData().value_or(QString());
    m_widgets.textField.setStringValue(text);
    m_widgets.buttonOpenLink.setEnabled(Capture::isUrl(text));
    m_widgets.buttonSave.setEnabled(true);
    m_widgets.buttonSkip.setEnabled(true);
}

void OfferControls::clearOffer()
{
    m_widgets.textField.setStringValue(QString());
    m_offer->setCapturedImage(QImage());
    m_widgets.buttonOpenLink.setEnabled(false);
    m_widgets.buttonSave.setEnabled(false);
    m_widgets.buttonSkip.setEnabled(false);
}

void OfferControls::storeCode() const
{
    StoreStack::shared().storeCapture(
        m_offer->capturedImage(), m_offer->captureData().value_or(QString()));
}

void OfferControls::openLink() const
{
    platform::Workspace::open(m_offer->captureData().value_or(QString()));
}

} // namespace vellumcap
