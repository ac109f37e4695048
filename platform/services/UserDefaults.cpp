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
#include <mutex>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {

struct UserDefaults::State {
    explicit State(const QString& path)
        : settings(path, QSettings::IniFormat)
    {
        // QSettings flushes changes in the event loop of its thread.
        if (const auto* application = QCoreApplication::instance()) {
            settings.moveToThread(application->thread());
        }
    }

    std::mutex mutex; // guards `settings`
    QSettings settings;
    Observers<const QString&> observers; ///< called with the key
};

UserDefaults& UserDefaults::standard()
{
    static UserDefaults defaults(StandardFolders::configuration() + u"/vellumcap.ini"_s);
    return defaults;
}

UserDefaults::UserDefaults(const QString& path)
    : m_state(std::make_unique<State>(path))
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
    // QSettings reads an unquoted value with a comma as a list.
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
    // The shortest text that reads back as the same value. Qt's would lose a negative zero.
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
    m_state->observers.notify(key);
}

void UserDefaults::write(const QString& key, const QString& value)
{
    {
        const std::lock_guard lock(m_state->mutex);
        // QSettings would make the folder readable to everyone. Without the folder the settings
        // are not stored, which is not reported.
        const QString folder = QFileInfo(m_state->settings.fileName()).absolutePath();
        static_cast<void>(FileManager::createDirectory(folder));
        m_state->settings.setValue(key, value);
    }
    m_state->observers.notify(key);
}

Observation UserDefaults::observe(const QString& key, std::function<void()> observer)
{
    return m_state->observers.add([key, observer = std::move(observer)](const QString& written) {
        if (written == key) {
            observer();
        }
    });
}

void UserDefaults::synchronize()
{
    const std::lock_guard lock(m_state->mutex);
    m_state->settings.sync();
}

} // namespace platform
