#include "watch/ScriptWatchCommand.h"

#include "app/VellumcapAppDelegate.h"
#include "journal/JournalWindow.h"
#include "platform/services/Dispatch.h"
#include "platform/services/UserDefaults.h"

#include <QString>

#include <cmath>

using namespace Qt::StringLiterals;

namespace vellumcap {

namespace {

const auto openInBackground = u"OpenInBackground"_s;
const auto closeOnFirstScan = u"CloseOnFirstScan"_s;
const auto saveCapture = u"SaveCapture"_s;
const auto scriptName = u"ScriptName"_s;

constexpr qsizetype longestFileName = 255;

bool isTrue(QStringView text)
{
    qsizetype index = 0;
    while (index < text.size() && text[index].isSpace()) {
        ++index;
    }
    if (index < text.size() && (text[index] == u'+' || text[index] == u'-')) {
        ++index;
    }
    while (index < text.size() && text[index] == u'0') {
        ++index;
    }
    return index < text.size() && QStringView(u"YyTt123456789").contains(text[index]);
}

bool boolValue(const QVariant& value)
{
    if (value.typeId() == QMetaType::QString) {
        return isTrue(value.toString());
    }
    const double number = value.toDouble();
    return number != 0.0 && !std::isnan(number);
}

/// Longer texts are no file names.
QString nameValue(const QVariant& value)
{
    const QString name = value.typeId() == QMetaType::QString ? value.toString() : u""_s;
    return name.size() <= longestFileName ? name : u""_s;
}

} // namespace

ScriptWatchCommand::ScriptWatchCommand(const QVariantMap& arguments)
{
    for (const QString& key : { openInBackground, closeOnFirstScan, saveCapture }) {
        m_options.insert(key, boolValue(arguments.value(key)));
    }
    m_options.insert(scriptName, nameValue(arguments.value(scriptName)));
}

void ScriptWatchCommand::performDefaultImplementation() const
{
    auto& defaults = platform::UserDefaults::standard();
    const auto write = [&](const QString& defaultsKey, const QString& key) {
        defaults.setBool(defaultsKey, m_options.value(key).toBool());
    };
    write(u"watch-openURLInBackground"_s, openInBackground);
    write(u"watch-saveCapture"_s, saveCapture);
    write(u"watch-closeOnFirstScan"_s, closeOnFirstScan);
    // The delegate is looked up in the queued job: the command may arrive before the program has
    // launched, or while it quits.
    platform::dispatchMain([options = m_options] {
        const auto* delegate
            = dynamic_cast<const VellumcapAppDelegate*>(platform::Application::shared().delegate());
        if (delegate != nullptr && delegate->journalWindow() != nullptr) {
            delegate->journalWindow()->watch(options);
        }
    });
}

} // namespace vellumcap
