#pragma once

#include "platform/services/Observers.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The user's settings, by key and type. There are no registered defaults. Writes on the main
/// thread, reads on any.
class UserDefaults {
public:
    /// The program's own, stored in its configuration folder.
    static UserDefaults& standard();

    /// Settings in the INI file at `path`.
    explicit UserDefaults(const QString& path);
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    std::optional<QString> stringForKey(const QString& key) const; ///< nullopt when unset
    double doubleForKey(const QString& key) const; ///< 0.0 when unset or not a number
    int integerForKey(const QString& key) const; ///< 0 when unset or not a number
    bool boolForKey(const QString& key) const; ///< false when unset

    void setString(const QString& key, const QString& value);
    void setDouble(const QString& key, double value);
    void setInteger(const QString& key, int value);
    void setBool(const QString& key, bool value);
    void removeObject(const QString& key);

    /// Calls `observer` after every write of `key`, on the writing thread, while the returned
    /// observation lives. The observer may write, and may begin and end observations.
    [[nodiscard]] Observation observe(const QString& key, std::function<void()> observer);

    /// Writes pending changes to the disk at once.
    void synchronize();

private:
    struct State;
    QString text(const QString& key) const;
    double number(const QString& key) const;
    void write(const QString& key, const QString& value);

    std::unique_ptr<State> m_state;
};

} // namespace platform
