#include "tests/support/Sandbox.h"

#include <QDir>
#include <QLocale>

#include <ctime>

using namespace Qt::StringLiterals;

namespace support {

Sandbox::Sandbox()
{
    const auto folder = [this](const char* variable, const QString& name) {
        QDir(m_folder.path()).mkpath(name);
        QFile::setPermissions(
            m_folder.filePath(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, m_folder.filePath(name).toUtf8());
    };
    folder("HOME", u"home"_s);
    folder("XDG_DATA_HOME", u"data"_s);
    folder("XDG_CONFIG_HOME", u"config"_s);
    folder("XDG_CACHE_HOME", u"cache"_s);
    folder("XDG_RUNTIME_DIR", u"runtime"_s);
    qputenv("TZ", "UTC");
    tzset();
    qputenv("LC_ALL", "C.UTF-8");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    if (!qEnvironmentVariableIsSet("VELLUMCAP_TEST_ON_SCREEN")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    // The process finds no camera portal, so it does not see the machine's cameras.
    qputenv("VELLUMCAP_CAMERA_PORTAL", "1");
}

} // namespace support
