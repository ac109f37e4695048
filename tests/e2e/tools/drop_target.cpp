#include <QApplication>
#include <QCommandLineParser>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMimeData>
#include <QScreen>
#include <QTimer>
#include <QUrl>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// Acts as a file manager or mail program that accepts a file. Prints what was offered, and copies
/// the file on a signal, which may be sent much later.
class Target : public QLabel {
public:
    Target(QString copy, QString signal)
        : m_copy(std::move(copy))
        , m_signal(std::move(signal))
    {
        setText(u"Drop here"_s);
        setAccessibleName(text());
        setAlignment(Qt::AlignCenter);
        setFixedSize(160, 160);
        setAcceptDrops(true);
        setWindowFlags(Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
        connect(&m_timer, &QTimer::timeout, this, &Target::copyOnSignal);
    }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override { event->acceptProposedAction(); }

    void dragMoveEvent(QDragMoveEvent* event) override
    {
        std::puts("over");
        std::fflush(stdout);
        event->acceptProposedAction();
    }

    void dropEvent(QDropEvent* event) override
    {
        const QMimeData& offered = *event->mimeData();
        m_file = offered.urls().value(0).toLocalFile();
        std::printf("actions: %d\nformats: %s\nuris: %s\ndropped\n",
            static_cast<int>(event->possibleActions().toInt()),
            qPrintable(offered.formats().join(QLatin1Char(' '))),
            offered.data(u"text/uri-list"_s).trimmed().constData());
        std::fflush(stdout);
        event->acceptProposedAction();
        m_timer.start(50);
    }

private:
    void copyOnSignal()
    {
        if (!QFile::exists(m_signal)) {
            return;
        }
        m_timer.stop();
        std::printf("%s\n", QFile::copy(m_file, m_copy) ? "copied" : "nothing to copy");
        std::fflush(stdout);
    }

    QString m_copy;
    QString m_signal;
    QString m_file;
    QTimer m_timer;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument(u"copy"_s, u"The path of the copy."_s);
    parser.addPositionalArgument(u"signal"_s, u"The file whose creation is the signal to copy."_s);
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        parser.showHelp(EXIT_FAILURE);
    }
    Target target(arguments.at(0), arguments.at(1));
    target.move(8, QGuiApplication::primaryScreen()->availableGeometry().bottom() - 180);
    target.show();
    return QApplication::exec();
}
