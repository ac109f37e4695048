#include <QApplication>
#include <QCommandLineParser>
#include <QDrag>
#include <QFileInfo>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QScreen>
#include <QUrl>

#include <cstdio>
#include <memory>

namespace {

/// What is dragged: a file, the picture in it, or a text.
enum class Payload { File, ImageData, Text };

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

/// Stands for a file manager, browser or editor from which something is dragged. Tells on
/// standard output how each drag ended.
class Source : public QLabel {
public:
    Source(Payload payload, QString subject, Qt::DropActions actions)
        : m_payload(payload)
        , m_subject(std::move(subject))
        , m_actions(actions)
    {
        setFixedSize(160, 160);
        setAlignment(Qt::AlignCenter);
        setTextFormat(Qt::PlainText);
        setAccessibleName(QStringLiteral("Drag me"));
        setWindowFlag(Qt::WindowStaysOnTopHint);
        if (payload == Payload::Text) {
            setText(m_subject);
            return;
        }
        setWindowTitle(QFileInfo(m_subject).fileName());
        setPixmap(QPixmap(m_subject).scaled(size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }

protected:
    void mousePressEvent(QMouseEvent* event) override { m_pressed = event->pos(); }

    void mouseMoveEvent(QMouseEvent* event) override
    {
        const int way = (event->pos() - m_pressed).manhattanLength();
        if (!(event->buttons() & Qt::LeftButton) || way < QApplication::startDragDistance()) {
            return;
        }
        auto* drag = new QDrag(this); // Qt deletes it after the drag
        drag->setMimeData(newMimeData());
        if (!pixmap(Qt::ReturnByValue).isNull()) {
            drag->setPixmap(pixmap(Qt::ReturnByValue).scaled(64, 64, Qt::KeepAspectRatio));
        }
        // The target reads the data after the button is up; the drag lives until it has.
        const auto action = std::make_shared<Qt::DropAction>(Qt::IgnoreAction);
        connect(drag, &QObject::destroyed, this, [action] {
            std::printf("dropped: %s\n", nameOf(*action));
            std::fflush(stdout);
        });
        *action = drag->exec(m_actions);
    }

private:
    QMimeData* newMimeData() const
    {
        auto* offered = new QMimeData;
        switch (m_payload) {
        case Payload::File:
            offered->setUrls({ QUrl::fromLocalFile(QFileInfo(m_subject).absoluteFilePath()) });
            break;
        case Payload::ImageData:
            offered->setImageData(QImage(m_subject));
            break;
        case Payload::Text:
            offered->setText(m_subject);
            break;
        }
        return offered;
    }

    Payload m_payload;
    QString m_subject;
    Qt::DropActions m_actions;
    QPoint m_pressed;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("subject"), QStringLiteral("A file, or a text."));
    const QCommandLineOption actions(QStringLiteral("actions"), QStringLiteral("What is offered."),
        QStringLiteral("names"), QStringLiteral("copy,move,link"));
    const QCommandLineOption imageData(
        QStringLiteral("image-data"), QStringLiteral("Drags the picture, not the file."));
    const QCommandLineOption text(QStringLiteral("text"), QStringLiteral("Drags the text."));
    parser.addOptions({ actions, imageData, text });
    parser.process(application);
    if (parser.positionalArguments().isEmpty()) {
        parser.showHelp(EXIT_FAILURE);
    }

    const Payload payload = parser.isSet(text) ? Payload::Text
        : parser.isSet(imageData)              ? Payload::ImageData
                                               : Payload::File;
    Source source(
        payload, parser.positionalArguments().constFirst(), actionsOf(parser.value(actions)));
    source.move(8, QGuiApplication::primaryScreen()->availableGeometry().bottom() - 180);
    source.show();
    return QApplication::exec();
}
