#include "platform/ui/SavePanel.h"
#include "platform/ui/Sheet.h"
#include "tests/support/Alerts.h"
#include "tests/support/TestMain.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// The offscreen platform uses the dialog of Qt.
class SavePanelTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { m_window.show(); }

    void returnsAPathOfAnAllowedType_data();
    void returnsAPathOfAnAllowedType();
    void suggestsAName();
    void isASheet();
    void asksBeforeReplacingACompletedName();

private:
    /// Types `name` into the panel and confirms.
    void confirm(const QString& name);

    QWidget m_window;
    QTemporaryDir m_folder;
    const platform::SavePanel m_panel{
        .suggestedName = u"QR Capture"_s,
        .allowedFileTypes = { u"jpg"_s, u"jpeg"_s },
    };
};

void SavePanelTest::confirm(const QString& name)
{
    auto* dialog = qobject_cast<QFileDialog*>(platform::attachedSheet(&m_window));
    QVERIFY(dialog != nullptr);
    dialog->setDirectory(m_folder.path());
    auto* field = dialog->findChild<QLineEdit*>(u"fileNameEdit"_s);
    QVERIFY(field != nullptr);
    field->setText(name);
    QMetaObject::invokeMethod(dialog, "accept");
}

void SavePanelTest::returnsAPathOfAnAllowedType_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("chosen");
    const auto row = [](const QString& typed, const QString& chosen) {
        QTest::newRow(qPrintable(typed)) << typed << chosen;
    };
    row(u"picture"_s, u"picture.jpg"_s);
    row(u"picture.jpeg"_s, u"picture.jpeg"_s);
    row(u"picture.JPG"_s, u"picture.JPG"_s);
    row(u"picture.png"_s, u"picture.png.jpg"_s);
}

void SavePanelTest::returnsAPathOfAnAllowedType()
{
    QFETCH(QString, typed);
    QFETCH(QString, chosen);
    QString path;
    m_panel.beginSheet(&m_window, [&path](const QString& given) { path = given; });
    confirm(typed);
    QTRY_COMPARE(path, m_folder.filePath(chosen));
    QVERIFY(platform::attachedSheet(&m_window) == nullptr);
}

void SavePanelTest::suggestsAName()
{
    m_panel.beginSheet(&m_window, [](const QString&) {});
    auto* dialog = qobject_cast<QFileDialog*>(platform::attachedSheet(&m_window));
    QVERIFY(dialog != nullptr);
    QCOMPARE(dialog->findChild<QLineEdit*>(u"fileNameEdit"_s)->text(), u"QR Capture.jpg"_s);
    dialog->reject();
}

void SavePanelTest::isASheet()
{
    bool wasChosen = false;
    m_panel.beginSheet(&m_window, [&wasChosen](const QString&) { wasChosen = true; });
    QWidget* first = platform::attachedSheet(&m_window);
    QVERIFY(first != nullptr);
    m_panel.beginSheet(&m_window, [](const QString&) {});
    QCOMPARE(platform::attachedSheet(&m_window), first);
    qobject_cast<QFileDialog*>(first)->reject();
    QVERIFY(platform::attachedSheet(&m_window) == nullptr);
    QVERIFY(!wasChosen);
}

void SavePanelTest::asksBeforeReplacingACompletedName()
{
    QFile file(m_folder.filePath(u"there.png.jpg"_s));
    QVERIFY(file.open(QFile::WriteOnly));
    bool wasChosen = false;
    bool wasAsked = false;
    m_panel.beginSheet(&m_window, [&wasChosen](const QString&) { wasChosen = true; });
    support::onNextAlert([&wasAsked](QMessageBox& alert) {
        wasAsked = true;
        QTest::keyClick(&alert, Qt::Key_Escape);
    });
    confirm(u"there.png"_s);
    QTRY_VERIFY(wasAsked);
    QVERIFY(!wasChosen);
}

VELLUMCAP_TEST(SavePanelTest)

#include "tst_savepanel.moc"
