#pragma once

class QAction;

namespace platform {

/// A link of the chain along which a menu item looks for its target. An item's object name is the
/// name of its action.
class MenuResponder {
public:
    virtual ~MenuResponder() = default;
    virtual bool respondsTo(const QAction& item) const = 0;
    /// Whether the item is enabled; asked only of the first link that responds to it.
    virtual bool validateMenuItem(const QAction& item) const = 0;
    virtual void perform(QAction& item) = 0;
};

} // namespace platform
