#pragma once

#include <QObject>
#include <QVariantMap>

#include <functional>

namespace platform {

/// The object whose methods other programs call over the session bus. They are described in
/// resources/org.vellumcap.Vellumcap.xml, from which the adaptor is generated. Main thread.
class ScriptingInterface : public QObject {
    Q_OBJECT
public:
    /// `arguments` are the Booleans, numbers and texts of another program's call. Untrusted.
    using WatchRequest = std::function<void(const QVariantMap& arguments)>;

    explicit ScriptingInterface(WatchRequest watch);

public Q_SLOTS:
    void Watch(const QVariantMap& arguments);

private:
    WatchRequest m_watch;
};

} // namespace platform
