#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The user's settings: typed reads of what was stored, with no defaults registered. Main thread
/// for writing; reads from any thread.
class UserDefaults {
public:
    using Observer = std::function<void()>;
    /// Ends the observation when it goes; must not outlive the defaults.
    class Observation;

    /// The program's own, kept in its configuration folder.
    static UserDefaults& standard();

    /// Settings in the INI file at `path`.
    explicit UserDefaults(const QString& path);
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    std::optional<QString> stringForKey(const QString& key) const; ///< unset: nullopt
    double doubleForKey(const QString& key) const; ///< unset or no number: 0.0
    int integerForKey(const QString& key) const; ///< unset or no number: 0
    bool boolForKey(const QString& key) const; ///< unset: false

    void setString(const QString& key, const QString& value);
    void setDouble(const QString& key, double value);
    void setInteger(const QString& key, int value);
    void setBool(const QString& key, bool value);
    void removeObject(const QString& key);

    /// Calls `observer` after every write of `key`, on the writing thread.
    /// It may write, and may begin and end observations.
    [[nodiscard]] std::unique_ptr<Observation> observe(const QString& key, Observer observer);

    /// Writes to the disk at once what is pending.
    void synchronize();

private:
    struct State;
    QString text(const QString& key) const;
    double number(const QString& key) const;
    void write(const QString& key, const QString& value);
    void notify(const QString& key);

    std::shared_ptr<State> m_state;
};

class UserDefaults::Observation {
public:
    ~Observation();
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;

private:
    friend class UserDefaults;
    Observation(std::shared_ptr<State> state, int number);

    std::shared_ptr<State> m_state;
    int m_number;
};

} // namespace platform
