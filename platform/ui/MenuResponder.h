#pragma once

class QAction;

namespace platform {

/// A possible target of menu items. The object name of an item is the name of its action.
class MenuResponder {
public:
    virtual ~MenuResponder() = default;
    virtual bool respondsTo(const QAction& item) const = 0;
    /// Whether the item is enabled. Only called when respondsTo() is true.
    virtual bool validateMenuItem(const QAction& item) const = 0;
    virtual void perform(QAction& item) = 0;
};

} // namespace platform
