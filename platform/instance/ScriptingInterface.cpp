#include "platform/instance/ScriptingInterface.h"

#include "scriptingadaptor.h"

#include <QDBusVariant>

#include <utility>

namespace platform {
namespace {

/// A Boolean, number or text without the variants around it. Invalid for other types.
QVariant plainValue(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        const QVariant inner = value.value<QDBusVariant>().variant(); // the bus limits the depth
        value = inner;
    }
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QString:
        return value;
    default:
        return {};
    }
}

} // namespace

ScriptingInterface::ScriptingInterface(WatchRequest watch)
    : m_watch(std::move(watch))
{
    new ScriptingAdaptor(this);
}

void ScriptingInterface::Watch(const QVariantMap& arguments)
{
    QVariantMap plain;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (const QVariant value = plainValue(argument.value()); value.isValid()) {
            plain.insert(argument.key(), value);
        }
    }
    m_watch(plain);
}

} // namespace platform
