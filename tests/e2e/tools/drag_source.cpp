#include <QApplication>
#include <QClipboard>
#include <QCommandLineParser>
#include <QDrag>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QScreen>
#include <QUrl>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// What other programs are offered: a file, the picture in a file, the bytes of a file as a given
/// format, a link, or a text.
struct Offer {
    enum class Kind { File, ImageData, Encoded, Link, Text };

    Kind kind = Kind::File;
    QString subject;
    QString format;

    bool isFile() const { return kind != Kind::Link && kind != Kind::Text; }
    QMimeData* newMimeData() const;
};

QMimeData* Offer::newMimeData() const
{
    auto* offered = new QMimeData;
    switch (kind) {
    case Kind::File:
        offered->setUrls({ QUrl::fromLocalFile(QFileInfo(subject).absoluteFilePath()) });
        break;
    case Kind::ImageData:
        offered->setImageData(QImage(subject));
        break;
    case Kind::Encoded: {
        QFile file(subject);
        file.open(QIODevice::ReadOnly);
        offered->setData(format, file.readAll());
        break;
    }
    case Kind::Link:
        offered->setUrls({ QUrl(subject) });
        break;
    case Kind::Text:
        offered->setText(subject);
        break;
    }
    return offered;
}

Qt::DropActions actionsOf(const QString& names)
{
    const QStringList given = names.split(u',');
    Qt::DropActions actions;
    actions.setFlag(Qt::CopyAction, given.contains(QLatin1String("copy")));
    actions.setFlag(Qt::MoveAction, given.contains(QLatin1String("move")));
    actions.setFlag(Qt::LinkAction, given.contains(QLatin1String("link")));
    return actions;
}

const char* nameOf(Qt::DropAction action)
{
    switch (action) {
    case Qt::CopyAction:
        return "copy";
    case Qt::MoveAction:
        return "move";
    case Qt::LinkAction:
        return "link";
    default:
        return "none";
    }
}

void print(const char* what, Qt::DropAction action)
{
    std::printf("%s: %s\n", what, nameOf(action));
    std::fflush(stdout);
}

/// Acts as a file manager, browser or editor from which something is dragged. Prints each press of
/// the button, the start of a drag, the current drop action, and the action of the drop.
class Source : public QLabel {
public:
    Source(Offer offer, Qt::DropActions actions)
        : m_offer(std::move(offer))
        , m_actions(actions)
    {
        setFixedSize(160, 160);
        setAlignment(Qt::AlignCenter);
        setTextFormat(Qt::PlainText);
        setAccessibleName(u"Drag me"_s);
        setWindowFlags(Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
        setText(m_offer.subject);
        if (!m_offer.isFile()) {
            return;
        }
        setWindowTitle(QFileInfo(m_offer.subject).fileName());
        const QPixmap picture(m_offer.subject);
        if (!picture.isNull()) {
            setPixmap(picture.scaled(size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
        }
    }

protected:
    void mousePressEvent(QMouseEvent* event) override
    {
        m_pressed = event->pos();
        std::puts("pressed");
        std::fflush(stdout);
    }

    void mouseMoveEvent(QMouseEvent* event) override
    {
        const int way = (event->pos() - m_pressed).manhattanLength();
        if (!(event->buttons() & Qt::LeftButton) || way < QApplication::startDragDistance()) {
            return;
        }
        auto* drag = new QDrag(this); // Qt deletes it after the drag
        drag->setMimeData(m_offer.newMimeData());
        if (!pixmap(Qt::ReturnByValue).isNull()) {
            drag->setPixmap(pixmap(Qt::ReturnByValue).scaled(64, 64, Qt::KeepAspectRatio));
        }
        // The target reads the data after the release; the drag lives until then.
        const auto action = std::make_shared<Qt::DropAction>(Qt::IgnoreAction);
        connect(drag, &QObject::destroyed, this, [action] { print("dropped", *action); });
        connect(drag, &QDrag::actionChanged, this,
            [](Qt::DropAction offered) { print("over", offered); });
        std::puts("dragging");
        std::fflush(stdout);
        *action = drag->exec(m_actions);
    }

private:
    Offer m_offer;
    Qt::DropActions m_actions;
    QPoint m_pressed;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument(u"subject"_s, u"A file, or a text."_s);
    const QCommandLineOption actions(
        u"actions"_s, u"What is offered."_s, u"names"_s, u"copy,move,link"_s);
    const QCommandLineOption imageData(
        u"image-data"_s, u"Offers the picture instead of the file."_s);
    const QCommandLineOption format(
        u"format"_s, u"Offers the file's bytes in this format."_s, u"type"_s);
    const QCommandLineOption link(u"link"_s, u"Offers the link."_s);
    const QCommandLineOption text(u"text"_s, u"Offers the text."_s);
    const QCommandLineOption column(
        u"column"_s, u"Position, counted from the left."_s, u"number"_s, u"0"_s);
    const QCommandLineOption clipboard(u"clipboard"_s, u"Offers it on the clipboard."_s);
    parser.addOptions({ actions, imageData, format, link, text, column, clipboard });
    parser.process(application);
    if (parser.positionalArguments().isEmpty()) {
        parser.showHelp(EXIT_FAILURE);
    }

    using Kind = Offer::Kind;
    const Kind kind = parser.isSet(text) ? Kind::Text
        : parser.isSet(link)             ? Kind::Link
        : parser.isSet(format)           ? Kind::Encoded
        : parser.isSet(imageData)        ? Kind::ImageData
                                         : Kind::File;
    const Offer offer{ kind, parser.positionalArguments().constFirst(), parser.value(format) };
    if (parser.isSet(clipboard)) {
        QGuiApplication::clipboard()->setMimeData(offer.newMimeData());
        std::puts("copied");
        std::fflush(stdout);
    }
    Source source(offer, actionsOf(parser.value(actions)));
    constexpr int columnWidth = 170;
    source.move(8 + columnWidth * parser.value(column).toInt(),
        QGuiApplication::primaryScreen()->availableGeometry().bottom() - 180);
    source.show();
    return QApplication::exec();
}
