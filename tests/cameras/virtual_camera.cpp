#include "VirtualCamera.h"

#include <QCommandLineParser>
#include <QCoreApplication>

using namespace Qt::StringLiterals;

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

/// A PipeWire camera without hardware. It is unplugged when standard input ends or the process is
/// killed. Lines of standard input:
///   image FILE           shows another picture
///   freeze, thaw         stays listed but sends no frames; sends them again
///   formats MODE...      offers these formats instead, with a new node while it is being read
///   renegotiate MODE...  offers these formats instead, always with the same node
///   lie MODE             sends its picture in this format instead of the negotiated one
///   refuse               fails for every new reader
///   quit
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addPositionalArgument(u"name"_s, u"node.name"_s);
    parser.addPositionalArgument(u"description"_s, u"node.description"_s);
    parser.addPositionalArgument(
        u"modes"_s, u"such as YUY2:1280x720@30, the preferred one first"_s, u"mode..."_s);
    const QCommandLineOption picture(u"picture"_s, u"what it sees; white without one"_s, u"file"_s);
    const QCommandLineOption property(u"property"_s, u"of the node"_s, u"key=value"_s);
    const QCommandLineOption control(u"control"_s,
        u"for PipeWire to set: V4L2 number, and the choices of a menu"_s, u"id[=choice,...]"_s);
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
