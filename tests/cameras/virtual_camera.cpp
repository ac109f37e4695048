#include "VirtualCamera.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace {

using cameras::CameraControl;
using cameras::CameraMode;
using cameras::VirtualCamera;

std::optional<CameraControl> parsedControl(const QString& text)
{
    bool valid = false;
    CameraControl control{ text.section(u'=', 0, 0).toUInt(&valid, 0), {} };
    for (const QString& choice : text.section(u'=', 1).split(u',', Qt::SkipEmptyParts)) {
        control.choices.append(choice.toInt());
    }
    return valid ? std::optional(control) : std::nullopt;
}

} // namespace

/// A camera of PipeWire's, without hardware, until standard input ends or it is killed: then it
/// has been pulled out. Lines of standard input:
///   image FILE      shows another picture
///   freeze, thaw    stays listed, but sends no frames; sends them again
///   formats MODE... offers these formats instead; while somebody watches, it goes and returns
///   renegotiate MODE...  the same without going: its node stays, and what it offers changes
///   lie MODE        sends its picture in this format under the name of the one agreed on
///   refuse          fails for everybody who wants to watch from now on
///   quit
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("name"), QStringLiteral("node.name"));
    parser.addPositionalArgument(QStringLiteral("description"), QStringLiteral("node.description"));
    parser.addPositionalArgument(QStringLiteral("modes"),
        QStringLiteral("such as YUY2:1280x720@30, the preferred one first"),
        QStringLiteral("mode..."));
    const QCommandLineOption picture(QStringLiteral("picture"),
        QStringLiteral("what it sees; white without"), QStringLiteral("file"));
    const QCommandLineOption property(
        QStringLiteral("property"), QStringLiteral("of the node"), QStringLiteral("key=value"));
    const QCommandLineOption control(QStringLiteral("control"),
        QStringLiteral("that can be set by way of PipeWire: V4L2's number, and a menu's choices"),
        QStringLiteral("id[=choice,...]"));
    parser.addOptions({ picture, property, control });
    parser.process(application);

    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() < 3) {
        parser.showHelp(EXIT_FAILURE);
    }
    VirtualCamera::Properties properties{ arguments.at(0), arguments.at(1), {}, {}, {} };
    for (const QString& text : arguments.mid(2)) {
        const auto mode = CameraMode::parsed(text);
        if (!mode) {
            qCritical("No mode: %ls", qUtf16Printable(text));
            return EXIT_FAILURE;
        }
        properties.modes.append(*mode);
    }
    for (const QString& text : parser.values(property)) {
        properties.others.insert(text.section(u'=', 0, 0), text.section(u'=', 1));
    }
    for (const QString& text : parser.values(control)) {
        const auto parsed = parsedControl(text);
        if (!parsed) {
            qCritical("No control: %ls", qUtf16Printable(text));
            return EXIT_FAILURE;
        }
        properties.controls.append(*parsed);
    }
    QImage seen;
    if (parser.isSet(picture) && !seen.load(parser.value(picture))) {
        qCritical("No picture: %ls", qUtf16Printable(parser.value(picture)));
        return EXIT_FAILURE;
    }
    VirtualCamera camera(properties, seen);
    return camera.run() ? EXIT_SUCCESS : EXIT_FAILURE;
}
