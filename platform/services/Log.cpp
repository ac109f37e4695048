#include "platform/services/Log.h"

#include <QtGlobal>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

bool isBidiControl(ushort unit)
{
    return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E)
        || (unit >= 0x2066 && unit <= 0x2069);
}

bool isControl(ushort unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028 || unit == 0x2029
        || isBidiControl(unit);
}

QString escaped(const QString& line)
{
    QString result;
    result.reserve(line.size());
    for (const QChar character : line) {
        if (isControl(character.unicode())) {
            result += u"\\u%1"_s.arg(uint{ character.unicode() }, 4, 16, QLatin1Char('0'));
        } else {
            result += character;
        }
    }
    return result;
}

} // namespace

void log(const QString& line)
{
    qInfo("%s", qUtf8Printable(escaped(line)));
}

} // namespace platform
