#include "imaging/DragDropImageView.h"
#include "platform/services/StandardFolders.h"
#include "platform/ui/Drawing.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QTemporaryDir>
#include <QVBoxLayout>

#include <memory>

using namespace Qt::StringLiterals;

using support::plainPicture;
using vellumcap::DragDropImageView;
using vellumcap::DragDropImageViewDelegate;

namespace {

using MimeData = std::unique_ptr<QMimeData>;
constexpr auto everyAction = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;

MimeData files(const QList<QUrl>& urls)
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls(urls);
    return data;
}

MimeData files(const QStringList& paths)
{
    QList<QUrl> urls;
    for (const QString& path : paths) {
        urls.append(QUrl::fromLocalFile(path));
    }
    return files(urls);
}

MimeData pictureData(const QImage& image)
{
    auto data = std::make_unique<QMimeData>();
    data->setImageData(image);
    return data;
}

QString captureFile()
{
    return platform::StandardFolders::caches() + u"/capture.png"_s;
}

/// A well in a window, and the events of a drag from another program.
struct Well {
    Well()
    {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(view);
        window.setWindowTitle(u"before"_s);
        window.resize(200, 200);
    }

    bool enter(const QMimeData& data, Qt::DropActions actions = everyAction) const
    {
        QDragEnterEvent event(at, actions, &data, Qt::LeftButton, {});
        event.ignore();
        QApplication::sendEvent(view, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }

    bool move(const QMimeData& data) const
    {
        QDragMoveEvent event(at, everyAction, &data, Qt::LeftButton, {});
        event.ignore();
        QApplication::sendEvent(view, &event);
        return event.isAccepted();
    }

    void leave() const
    {
        QDragLeaveEvent event;
        QApplication::sendEvent(view, &event);
    }

    bool drop(const QMimeData& data) const
    {
        if (!enter(data)) {
            return false;
        }
        QDropEvent event(at, everyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(view, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }

    /// Presses the button on the view, and returns the drag, which lives until the next call.
    /// Without a screen a drag ends at once.
    QDrag* press() const
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTest::mousePress(view, Qt::LeftButton);
        return qApp->findChild<QDrag*>();
    }

    static constexpr QPoint at{ 20, 20 };
    QWidget window;
    DragDropImageView* view = new DragDropImageView(&window);
};

struct Delegate : DragDropImageViewDelegate {
    void dropComplete(const std::optional<QString>& path) override { told.append(path); }

    QList<std::optional<QString>> told;
};

struct SilentDelegate : DragDropImageViewDelegate { };

} // namespace

class DragDropImageViewTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();

    void allowsBothWhenMadeByADescription();
    void allowsNothingWhenMadeByCode();

    void refusesEveryDragWithoutAllowDrop();
    void refusesWhatIsNotAPicture_data();
    void refusesWhatIsNotAPicture();
    void refusesSourcesThatDoNotCopy_data();
    void refusesSourcesThatDoNotCopy();
    void highlightsWhileADragHovers();
    void holdsTheDecisionTakenOnEntry();
    void framesTheAreaBeingRedrawn();
    void changesTheDefaultLineWidth();
    void showsAnotherWellsPictureFillingThisOne();

    void takesAFile();
    void takesPictureDataWithoutAFile();
    void takesTheFileThatIsAPicture();
    void givesNoPathForWebAddresses();
    void takesThePathWithoutThePicture();
    void keepsMarksInTheTitle();
    void notifiesItsDelegate();
    void changesNothingForItsOwnDrag();

    void dragsOutAFile();
    void dragOutlivesItsView();
    void overwritesTheFileWithEachDrag();
    void dragsOutOfAnEmptyView();
    void dragsNothingWithoutAllowDrag();
    void dragsWithTheLeftButtonOnly();
    void createsTheFolderOfTheDraggedFile();
    void dragsWhenTheFileCannotBeWritten();

    void providesTiffAndPdf();
    void zoomsItsWindowToThePicture();

private:
    QString inFolder(const char* name) const
    {
        return m_folder.filePath(QString::fromLatin1(name));
    }

    QTemporaryDir m_folder;
    QString m_red;
    QString m_text;
};

void DragDropImageViewTest::initTestCase()
{
    m_red = inFolder("red.png");
    QVERIFY(plainPicture({ 8, 8 }, Qt::red).save(m_red));
    m_text = inFolder("notes.txt");
    support::writeFile(m_text, "no picture");
    support::writeFile(inFolder("wrong.png"), "no picture either");
    QVERIFY(QDir(m_folder.path()).mkdir(u"folder"_s));
}

void DragDropImageViewTest::init()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QDir(platform::StandardFolders::caches()).removeRecursively();
    platform::drawing::setDefaultLineWidth(1);
}

void DragDropImageViewTest::allowsBothWhenMadeByADescription()
{
    const DragDropImageView view;
    QVERIFY(view.allowDrag());
    QVERIFY(view.allowDrop());
    QVERIFY(view.acceptDrops());
    QVERIFY(!view.isHighlighted());
    QVERIFY(!view.path());
    QVERIFY(view.image().isNull());
}

void DragDropImageViewTest::allowsNothingWhenMadeByCode()
{
    const DragDropImageView view(DragDropImageView::Origin::Code);
    QVERIFY(!view.allowDrag());
    QVERIFY(!view.allowDrop());
    QVERIFY(!view.acceptDrops());
}

void DragDropImageViewTest::refusesEveryDragWithoutAllowDrop()
{
    Well well;
    well.view->setAllowDrop(false);
    QVERIFY(!well.enter(*files(QStringList{ m_red })));
    QVERIFY(!well.enter(*pictureData(plainPicture({ 4, 4 }, Qt::blue))));
    QVERIFY(!well.view->isHighlighted());
    QVERIFY(!well.move(*files(QStringList{ m_red })));
}

void DragDropImageViewTest::refusesWhatIsNotAPicture_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::newRow("a text") << QStringList{ m_text };
    QTest::newRow("a text by a picture's name") << QStringList{ inFolder("wrong.png") };
    QTest::newRow("a folder") << QStringList{ inFolder("folder") };
    QTest::newRow("a missing file") << QStringList{ inFolder("missing.png") };
    QTest::newRow("nothing") << QStringList();
}

void DragDropImageViewTest::refusesWhatIsNotAPicture()
{
    QFETCH(QStringList, paths);
    const Well well;
    QVERIFY(!well.enter(*files(paths)));
    QVERIFY(!well.view->isHighlighted());
    QMimeData text;
    text.setText(m_red); // a text is not a file, even if it is a path
    QVERIFY(!well.enter(text));
}

void DragDropImageViewTest::refusesSourcesThatDoNotCopy_data()
{
    QTest::addColumn<int>("actions");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("move") << static_cast<int>(Qt::MoveAction) << false;
    QTest::newRow("link") << static_cast<int>(Qt::LinkAction) << false;
    QTest::newRow("move or link") << static_cast<int>(Qt::MoveAction | Qt::LinkAction) << false;
    QTest::newRow("nothing") << static_cast<int>(Qt::IgnoreAction) << false;
    QTest::newRow("copy") << static_cast<int>(Qt::CopyAction) << true;
    QTest::newRow("copy or move") << static_cast<int>(Qt::CopyAction | Qt::MoveAction) << true;
}

void DragDropImageViewTest::refusesSourcesThatDoNotCopy()
{
    QFETCH(int, actions);
    QFETCH(bool, accepted);
    const Well well;
    QCOMPARE(well.enter(*files(QStringList{ m_red }), Qt::DropActions(actions)), accepted);
    QCOMPARE(well.view->isHighlighted(), accepted);
}

void DragDropImageViewTest::highlightsWhileADragHovers()
{
    const Well well;
    const auto red = files(QStringList{ m_red });
    QVERIFY(well.enter(*red));
    QVERIFY(well.view->isHighlighted());
    well.leave();
    QVERIFY(!well.view->isHighlighted());
    QVERIFY(well.enter(*red));
    QVERIFY(well.view->prepareForDragOperation(*red));
    QVERIFY(!well.view->isHighlighted());
    QVERIFY(well.view->image().isNull());
    QVERIFY(!well.view->prepareForDragOperation(*files(QStringList{ m_text })));
}

void DragDropImageViewTest::holdsTheDecisionTakenOnEntry()
{
    const Well well;
    const auto red = files(QStringList{ m_red });
    QVERIFY(well.enter(*red));
    well.view->setAllowDrop(false);
    QVERIFY(well.move(*red));
    QVERIFY(well.view->isHighlighted());
}

void DragDropImageViewTest::framesTheAreaBeingRedrawn()
{
    const Well well;
    well.view->resize(100, 100);
    const auto drawn = [&](const QRegion& area) {
        QImage canvas(100, 100, QImage::Format_RGB32);
        canvas.fill(Qt::green);
        QPainter painter(&canvas);
        well.view->render(&painter, area.boundingRect().topLeft(), area, {});
        return canvas;
    };
    const QColor grey(128, 128, 128);
    QVERIFY(drawn(QRect(0, 0, 100, 100)).pixelColor(50, 0) != grey);
    QVERIFY(well.enter(*files(QStringList{ m_red })));
    const QImage whole = drawn(QRect(0, 0, 100, 100));
    for (const QPoint edge : { QPoint(50, 0), QPoint(50, 1), QPoint(0, 50), QPoint(1, 50),
             QPoint(98, 50), QPoint(50, 98), QPoint(99, 99) }) {
        QCOMPARE(whole.pixelColor(edge), grey);
    }
    QVERIFY(whole.pixelColor(50, 3) != grey); // the stroke covers 2.5 pixels inside
    const QImage part = drawn(QRect(20, 30, 40, 40));
    QCOMPARE(part.pixelColor(40, 31), grey);
    QCOMPARE(part.pixelColor(21, 50), grey);
    QVERIFY(part.pixelColor(40, 50) != grey);
    QCOMPARE(part.pixelColor(10, 10), QColor(Qt::green));
}

void DragDropImageViewTest::changesTheDefaultLineWidth()
{
    const Well well;
    well.view->grab();
    QCOMPARE(platform::drawing::defaultLineWidth(), 1.0);
    QVERIFY(well.enter(*files(QStringList{ m_red })));
    well.view->grab();
    well.leave();
    well.view->grab();
    QCOMPARE(platform::drawing::defaultLineWidth(), 5.0);
    QImage canvas(40, 40, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    platform::drawing::strokeRect(painter, QRectF(10, 10, 20, 20), Qt::black);
    QCOMPARE(canvas.pixelColor(20, 8), QColor(Qt::black));
    QCOMPARE(canvas.pixelColor(20, 11), QColor(Qt::black));
    QCOMPARE(canvas.pixelColor(20, 15), QColor(Qt::white));
}

void DragDropImageViewTest::showsAnotherWellsPictureFillingThisOne()
{
    const Well well;
    well.view->resize(100, 100);
    const auto corner = [&] { return well.view->grab().toImage().pixelColor(6, 50); };
    const auto data = pictureData(plainPicture({ 50, 50 }, Qt::blue));
    QVERIFY(well.enter(*data));
    QVERIFY(corner() != QColor(Qt::blue));
    well.leave();
    data->setData(u"application/x-vellumcap-image-well"_s, "1");
    QVERIFY(well.enter(*data));
    QCOMPARE(corner(), QColor(Qt::blue));
    QVERIFY(well.view->image().isNull());
    well.leave();
    QVERIFY(corner() != QColor(Qt::blue));
}

void DragDropImageViewTest::takesAFile()
{
    const Well well;
    QVERIFY(well.drop(*files(QStringList{ m_red })));
    QCOMPARE(well.view->image().pixelColor(4, 4), QColor(Qt::red));
    QCOMPARE(well.view->path(), m_red);
    QCOMPARE(well.window.windowTitle(), u"red.png"_s);
    QVERIFY(!well.view->isHighlighted());
}

void DragDropImageViewTest::takesPictureDataWithoutAFile()
{
    const Well well;
    QVERIFY(well.drop(*files(QStringList{ m_red })));
    QVERIFY(well.drop(*pictureData(plainPicture({ 4, 4 }, Qt::blue))));
    QCOMPARE(well.view->image().pixelColor(1, 1), QColor(Qt::blue));
    QVERIFY(!well.view->path());
    QCOMPARE(well.window.windowTitle(), u"(no name)"_s);
    QMimeData encoded;
    encoded.setData(u"image/png"_s, support::encoded(plainPicture({ 4, 4 }, Qt::green), "PNG"));
    QVERIFY(well.drop(encoded));
    QCOMPARE(well.view->image().pixelColor(1, 1), QColor(Qt::green));
}

void DragDropImageViewTest::takesTheFileThatIsAPicture()
{
    const Well well;
    QVERIFY(well.drop(*files(QStringList{ m_text, m_red })));
    QCOMPARE(well.view->path(), m_red);
    QCOMPARE(well.view->image().pixelColor(4, 4), QColor(Qt::red));
}

void DragDropImageViewTest::givesNoPathForWebAddresses()
{
    // What a browser offers for a picture of a page.
    const Well well;
    const auto data = pictureData(plainPicture({ 4, 4 }, Qt::blue));
    data->setUrls({ QUrl(u"https://example.org/picture.png"_s) });
    QVERIFY(well.drop(*data));
    QVERIFY(!well.view->path());
    QCOMPARE(well.window.windowTitle(), u"(no name)"_s);
    QVERIFY(!well.enter(*files(QList{ QUrl(u"https://example.org/picture.png"_s) })));
}

void DragDropImageViewTest::takesThePathWithoutThePicture()
{
    const Well well;
    Delegate delegate;
    well.view->setDelegate(&delegate);
    QVERIFY(well.drop(*files(QStringList{ m_red })));
    QVERIFY(well.view->performDragOperation(*files(QStringList{ m_text }), nullptr));
    QCOMPARE(well.view->image().pixelColor(4, 4), QColor(Qt::red));
    QCOMPARE(well.view->path(), m_text);
    QCOMPARE(well.window.windowTitle(), u"notes.txt"_s);
    QCOMPARE(delegate.told.last(), m_text);
    const QUrl folder(u"file://"_s + inFolder("folder") + QLatin1Char('/'));
    QVERIFY(well.view->performDragOperation(*files(QList{ folder }), nullptr));
    QCOMPARE(well.view->path(), inFolder("folder"));
    QCOMPARE(well.window.windowTitle(), u"folder"_s);
    QVERIFY(well.view->performDragOperation(*files(QStringList()), nullptr));
    QVERIFY(!well.view->path());
    QCOMPARE(well.window.windowTitle(), u"(no name)"_s);
}

void DragDropImageViewTest::keepsMarksInTheTitle()
{
    const Well well;
    const QString marked = inFolder("a[*]b.png");
    QVERIFY(QFile::copy(m_red, marked));
    QVERIFY(well.drop(*files(QStringList{ marked })));
    QCOMPARE(well.view->path(), marked);
    QCOMPARE(well.window.windowTitle(), u"a[*][*]b.png"_s);
}

void DragDropImageViewTest::notifiesItsDelegate()
{
    const Well well;
    Delegate delegate;
    well.view->setDelegate(&delegate);
    QVERIFY(well.drop(*files(QStringList{ m_red })));
    QVERIFY(well.drop(*pictureData(plainPicture({ 4, 4 }, Qt::blue))));
    QCOMPARE(delegate.told, (QList<std::optional<QString>>{ m_red, std::nullopt }));
    SilentDelegate silent;
    well.view->setDelegate(&silent);
    QVERIFY(well.drop(*files(QStringList{ m_red })));
    well.view->setDelegate(nullptr);
    QVERIFY(well.drop(*files(QStringList{ m_red })));
    QCOMPARE(delegate.told.size(), 2);
}

void DragDropImageViewTest::changesNothingForItsOwnDrag()
{
    const Well well;
    Delegate delegate;
    well.view->setDelegate(&delegate);
    well.view->setImage(plainPicture({ 4, 4 }, Qt::blue));
    QVERIFY(well.view->performDragOperation(*files(QStringList{ m_red }), well.view));
    QCOMPARE(well.view->image().pixelColor(1, 1), QColor(Qt::blue));
    QVERIFY(!well.view->path());
    QCOMPARE(well.window.windowTitle(), u"before"_s);
    QVERIFY(delegate.told.isEmpty());
}

void DragDropImageViewTest::dragsOutAFile()
{
    Well well;
    well.view->setImage(plainPicture({ 40, 30 }, Qt::blue));
    const QDrag* drag = well.press();
    QVERIFY(drag != nullptr);
    QCOMPARE(drag->source(), well.view);
    QCOMPARE(drag->supportedActions(), Qt::CopyAction);
    QCOMPARE(drag->mimeData()->formats(), QStringList{ u"text/uri-list"_s });
    QCOMPARE(drag->mimeData()->urls(), QList{ QUrl::fromLocalFile(captureFile()) });
    QCOMPARE(drag->hotSpot(), QPoint(16, 16));
    QCOMPARE(drag->pixmap().deviceIndependentSize(), QSizeF(32, 32));
    QCOMPARE(drag->pixmap().toImage().pixelColor(16, 16), QColor(Qt::blue));
    const QImage written(captureFile(), "PNG");
    QCOMPARE(written.size(), QSize(40, 30));
    QCOMPARE(written.pixelColor(1, 1), QColor(Qt::blue));
    QCOMPARE(well.view->image().size(), QSize(40, 30));
}

void DragDropImageViewTest::dragOutlivesItsView()
{
    auto well = std::make_unique<Well>();
    well->view->setImage(plainPicture({ 6, 6 }, Qt::red));
    const QPointer<QDrag> drag = well->press();
    well.reset();
    // The data lives until the receiver has read it; the file stays.
    QVERIFY(drag != nullptr);
    QCOMPARE(drag->mimeData()->urls(), QList{ QUrl::fromLocalFile(captureFile()) });
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(drag == nullptr);
    QCOMPARE(QImage(captureFile()).pixelColor(1, 1), QColor(Qt::red));
}

void DragDropImageViewTest::overwritesTheFileWithEachDrag()
{
    Well well;
    for (const auto color : { Qt::red, Qt::green }) {
        well.view->setImage(plainPicture({ 6, 6 }, color));
        QVERIFY(well.press() != nullptr);
        QCOMPARE(QImage(captureFile()).pixelColor(1, 1), QColor(color));
    }
    const QStringList kept = QDir(platform::StandardFolders::caches()).entryList(QDir::Files);
    QCOMPARE(kept, QStringList{ u"capture.png"_s });
}

void DragDropImageViewTest::dragsOutOfAnEmptyView()
{
    Well well;
    const QDrag* drag = well.press();
    QVERIFY(drag != nullptr);
    QCOMPARE(drag->mimeData()->urls(), QList{ QUrl::fromLocalFile(captureFile()) });
    QVERIFY(drag->pixmap().isNull());
    QVERIFY(!QFile::exists(captureFile()));

    well.view->setImage(plainPicture({ 6, 6 }, Qt::red));
    QVERIFY(well.press() != nullptr);
    well.view->setImage({});
    QVERIFY(well.press() != nullptr);
    QCOMPARE(QImage(captureFile()).pixelColor(1, 1), QColor(Qt::red));
}

void DragDropImageViewTest::dragsNothingWithoutAllowDrag()
{
    Well well;
    well.view->setImage(plainPicture({ 6, 6 }, Qt::red));
    well.view->setAllowDrag(false);
    QMouseEvent press(QEvent::MouseButtonPress, Well::at, well.window.mapToGlobal(Well::at),
        Qt::LeftButton, Qt::LeftButton, {});
    QApplication::sendEvent(well.view, &press);
    QVERIFY(press.isAccepted()); // the parent must not get it
    QVERIFY(qApp->findChild<QDrag*>() == nullptr);
    QVERIFY(!QFile::exists(captureFile()));
}

void DragDropImageViewTest::dragsWithTheLeftButtonOnly()
{
    const Well well;
    well.view->setImage(plainPicture({ 6, 6 }, Qt::red));
    QTest::mouseClick(well.view, Qt::RightButton);
    QTest::mouseClick(well.view, Qt::MiddleButton);
    QVERIFY(!QFile::exists(captureFile()));
}

void DragDropImageViewTest::createsTheFolderOfTheDraggedFile()
{
    QVERIFY(!QFile::exists(platform::StandardFolders::caches()));
    Well well;
    well.view->setImage(plainPicture({ 6, 6 }, Qt::red));
    QVERIFY(well.press() != nullptr);
    QCOMPARE(QImage(captureFile()).size(), QSize(6, 6));
}

void DragDropImageViewTest::dragsWhenTheFileCannotBeWritten()
{
    support::writeFile(platform::StandardFolders::caches(), "a file where the folder would be");
    Well well;
    well.view->setImage(plainPicture({ 6, 6 }, Qt::red));
    const QDrag* drag = well.press();
    QFile::remove(platform::StandardFolders::caches());
    QVERIFY(drag != nullptr);
    QCOMPARE(drag->mimeData()->urls(), QList{ QUrl::fromLocalFile(captureFile()) });
}

void DragDropImageViewTest::providesTiffAndPdf()
{
    Well well;
    well.window.show(); // computes the layout
    well.view->setImage(plainPicture({ 12, 9 }, Qt::red));
    QMimeData item;
    for (const char* type : { "image/tiff", "application/pdf", "image/png", "text/plain" }) {
        well.view->provideData(item, QString::fromLatin1(type));
    }
    QCOMPARE(item.formats(), (QStringList{ u"image/tiff"_s, u"application/pdf"_s }));
    const QImage tiff = QImage::fromData(item.data(u"image/tiff"_s), "TIFF");
    QCOMPARE(tiff.size(), QSize(12, 9));
    QCOMPARE(tiff.pixelColor(3, 3), QColor(Qt::red));
    const QByteArray pdf = item.data(u"application/pdf"_s);
    QVERIFY(pdf.startsWith("%PDF-"));
    const auto points
        = [](int pixels) { return QByteArray::number(static_cast<double>(pixels), 'f', 6); };
    const QByteArray box
        = "/MediaBox [0 0 " + points(well.view->width()) + ' ' + points(well.view->height()) + ']';
    QVERIFY2(pdf.contains(box), pdf.mid(pdf.indexOf("/MediaBox"), 60).constData());
}

void DragDropImageViewTest::zoomsItsWindowToThePicture()
{
    Well well;
    well.window.move(30, 40);
    well.window.show();
    well.view->setImage(plainPicture({ 300, 120 }, Qt::red));
    const QRect frame = well.view->windowWillUseStandardFrame(well.window, QRect(1, 2, 3, 4));
    const QSize decoration = well.window.frameGeometry().size() - well.window.size();
    QCOMPARE(frame.topLeft(), well.window.frameGeometry().topLeft());
    QCOMPARE(frame.size(), QSize(300, 120) + decoration);
    const DragDropImageView alone;
    QCOMPARE(alone.windowWillUseStandardFrame(well.window, {}).topLeft(), QPoint());
}

VELLUMCAP_TEST(DragDropImageViewTest)
#include "tst_dragdropimageview.moc"
