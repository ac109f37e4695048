#include "platform/services/UserDefaults.h"

#include "platform/services/FileManager.h"
#include "platform/services/StandardFolders.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>
#include <QThread>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

using Qt::StringLiterals::operator""_s;

namespace platform {

struct UserDefaults::State {
    explicit State(const QString& path)
        : settings(path, QSettings::IniFormat)
    {
        // What is written is flushed by the event loop of the thread that the settings live in.
        if (const auto* application = QCoreApplication::instance()) {
            settings.moveToThread(application->thread());
        }
    }

    struct Registration {
        QString key;
        std::shared_ptr<const Observer> observer;
    };

    std::vector<int> numbersFor(const QString& key)
    {
        const std::lock_guard lock(mutex);
        std::vector<int> numbers;
        for (const auto& [number, registration] : registrations) {
            if (registration.key == key) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }

    std::shared_ptr<const Observer> observer(int number)
    {
        const std::lock_guard lock(mutex);
        const auto found = registrations.find(number);
        return found == registrations.end() ? nullptr : found->second.observer;
    }

    mutable std::mutex mutex;
    QSettings settings;
    std::map<int, Registration> registrations;
    int lastNumber = 0;
};

UserDefaults& UserDefaults::standard()
{
    static UserDefaults defaults(StandardFolders::configuration() + u"/vellumcap.ini"_s);
    return defaults;
}

UserDefaults::UserDefaults(const QString& path)
    : m_state(std::make_shared<State>(path))
{
}

UserDefaults::~UserDefaults() = default;

/// Null when the key is unset.
QString UserDefaults::text(const QString& key) const
{
    const std::lock_guard lock(m_state->mutex);
    if (!m_state->settings.contains(key)) {
        return {};
    }
    // A comma that somebody typed into the file makes a list of it.
    const QString value = m_state->settings.value(key).toStringList().join(u", "_s);
    return value.isNull() ? u""_s : value;
}

double UserDefaults::number(const QString& key) const
{
    const QString value = text(key);
    return value == u"true"_s ? 1.0 : value.toDouble();
}

std::optional<QString> UserDefaults::stringForKey(const QString& key) const
{
    QString value = text(key);
    return value.isNull() ? std::nullopt : std::optional(std::move(value));
}

double UserDefaults::doubleForKey(const QString& key) const
{
    return number(key);
}

int UserDefaults::integerForKey(const QString& key) const
{
    using Limits = std::numeric_limits<int>;
    const double value = number(key);
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

bool UserDefaults::boolForKey(const QString& key) const
{
    const double value = number(key);
    return value != 0.0 && !std::isnan(value);
}

void UserDefaults::setString(const QString& key, const QString& value)
{
    write(key, value);
}

void UserDefaults::setDouble(const QString& key, double value)
{
    // The shortest text that reads back as the same value; Qt's has no negative zero.
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.begin(), text.end(), value).ptr;
    write(key, QString::fromLatin1(text.data(), end - text.begin()));
}

void UserDefaults::setInteger(const QString& key, int value)
{
    write(key, QString::number(value));
}

void UserDefaults::setBool(const QString& key, bool value)
{
    write(key, value ? u"true"_s : u"false"_s);
}

void UserDefaults::removeObject(const QString& key)
{
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->settings.remove(key);
    }
    notify(key);
}

void UserDefaults::write(const QString& key, const QString& value)
{
    {
        const std::lock_guard lock(m_state->mutex);
        // QSettings would make the folder readable to everyone. That it cannot be made shows
        // when the settings are flushed, and costs no more than their being kept.
        const QString folder = QFileInfo(m_state->settings.fileName()).absolutePath();
        [[maybe_unused]] const auto error = FileManager::createDirectory(folder);
        m_state->settings.setValue(key, value);
    }
    notify(key);
}

void UserDefaults::notify(const QString& key)
{
    const auto state = m_state;
    for (const int number : state->numbersFor(key)) {
        // Looked up one by one: an observer may have ended the next one's observation.
        if (const auto observer = state->observer(number)) {
            (*observer)();
        }
    }
}

std::unique_ptr<UserDefaults::Observation> UserDefaults::observe(
    const QString& key, Observer observer)
{
    const std::lock_guard lock(m_state->mutex);
    const int number = ++m_state->lastNumber;
    m_state->registrations.emplace(
        number, State::Registration{ key, std::make_shared<const Observer>(std::move(observer)) });
    return std::unique_ptr<Observation>(new Observation(m_state, number));
}

void UserDefaults::synchronize()
{
    const std::lock_guard lock(m_state->mutex);
    m_state->settings.sync();
}

UserDefaults::Observation::Observation(std::shared_ptr<State> state, int number)
    : m_state(std::move(state))
    , m_number(number)
{
}

UserDefaults::Observation::~Observation()
{
    // Destroyed outside of the lock, since it may hold whatever its maker captured.
    decltype(m_state->registrations)::node_type ended;
    const std::lock_guard lock(m_state->mutex);
    ended = m_state->registrations.extract(m_number);
}

} // namespace platform
