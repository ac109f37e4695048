#pragma once

#include <QObject>
#include <QVariantMap>

#include <functional>

namespace platform {

/// The object whose methods other programs call over the session bus, as
/// resources/org.vellumcap.Vellumcap.xml describes them; the adaptor is generated from there. Main
/// thread.
class ScriptingInterface : public QObject {
    Q_OBJECT
public:
    /// Is given the Booleans, numbers and texts among the arguments. They are another program's.
    using WatchRequest = std::function<void(const QVariantMap& arguments)>;

    explicit ScriptingInterface(WatchRequest watch);

public Q_SLOTS:
    void Watch(const QVariantMap& arguments);

private:
    WatchRequest m_watch;
};

} // namespace platform
