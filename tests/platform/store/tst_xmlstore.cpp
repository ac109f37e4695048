#include "platform/store/StoreDate.h"
#include "platform/store/StoreError.h"
#include "platform/store/StoreText.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <random>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

using platform::escaped;
using platform::firstStoreDate;
using platform::formatStoreDate;
using platform::lastStoreDate;
using platform::needsEscape;
using platform::parseStoreDate;
using platform::StoreDateText;
using platform::StoreErrorCode;
using platform::storeErrorDomain;
using platform::unescaped;
using support::Date;
using support::fileBytes;
using support::ImageKey;
using support::insertCapture;
using support::IsUrl;
using support::Notes;
using support::OpenStore;
using support::setFileBytes;
using support::Type;
using support::Value;

namespace {

const QByteArray header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<store format=\"1\" model=\"Vellumcap\" modelVersion=\"1\" "
                          "nextId=\"9\">\n";

QByteArray attribute(const QByteArray& name, const QByteArray& value)
{
    return "  <attribute name=\"" + name + "\">" + value + "</attribute>\n";
}

/// An object with all attributes; `value` replaces its captureValue.
QByteArray object(const QByteArray& id, const QByteArray& value = attribute("captureValue", "a"))
{
    return "<object entity=\"Capture\" id=\"" + id + "\">\n" + attribute("captureImageKey", "K")
        + attribute("captureType", "1") + value
        + attribute("dateCaptured", "2024-02-29T12:00:00.000Z") + attribute("isURL", "true")
        + "</object>\n";
}

QByteArray storeOf(const QByteArray& objects)
{
    return header + objects + "</store>\n";
}

} // namespace

class TestXmlStore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void makesAnEmptyStore();
    void writesAReadableFile();
    void roundTripsTexts_data();
    void roundTripsTexts();
    void roundTripsRandomTexts();
    void escapesOnlyWhatNeedsIt();
    void distinguishesEmptyFromAbsent();
    void roundTripsDates_data();
    void roundTripsDates();
    void refusesDatesThatDoNotExist_data();
    void refusesDatesThatDoNotExist();
    void keepsTheBytesOfWhatHasNotChanged();
    void readsWhatAPersonHasEdited();
    void doesNotChangeUnreadableFiles_data();
    void doesNotChangeUnreadableFiles();
    void doesNotChangeTruncatedFiles();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

void TestXmlStore::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(u"Vellumcap.storedata"_s);
}

void TestXmlStore::makesAnEmptyStore()
{
    const OpenStore store(m_path);
    QVERIFY(store.opened);
    QVERIFY(store.captures().empty());
    QCOMPARE(fileBytes(m_path),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<store format=\"1\" model=\"Vellumcap\" "
        "modelVersion=\"1\" nextId=\"1\">\n</store>\n");
    struct stat status { };
    QCOMPARE(::stat(QFile::encodeName(m_path).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
}

void TestXmlStore::writesAReadableFile()
{
    OpenStore store(m_path);
    const auto capture = store.context.insertObject(u"Capture");
    capture->setValue(ImageKey, u"KEY"_s);
    capture->setValue(Type, -1);
    capture->setValue(Value, u"https://example.org/?a=1&b=\"2\" <grün>"_s);
    capture->setValue(Date, QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 7), Qt::UTC));
    capture->setValue(IsUrl, true);
    QVERIFY(store.context.save());
    QCOMPARE(QString::fromUtf8(fileBytes(m_path)),
        u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<store format=\"1\" model=\"Vellumcap\" modelVersion=\"1\" nextId=\"2\">\n"
        "<object entity=\"Capture\" id=\"1\">\n"
        "  <attribute name=\"captureImageKey\">KEY</attribute>\n"
        "  <attribute name=\"captureType\">-1</attribute>\n"
        "  <attribute name=\"captureValue\">https://example.org/?a=1&amp;b=\"2\" "
        "&lt;grün&gt;</attribute>\n"
        "  <attribute name=\"dateCaptured\">2024-02-29T23:59:59.007Z</attribute>\n"
        "  <attribute name=\"isURL\">true</attribute>\n"
        "</object>\n"
        "</store>\n"_s);
}

void TestXmlStore::roundTripsTexts_data()
{
    QTest::addColumn<QString>("text");
    const auto unit = [](char16_t code) { return QString(QChar(code)); };
    QTest::newRow("empty") << QString();
    QTest::newRow("plain") << u"plain"_s;
    QTest::newRow("markup") << u"<a href='x'>&amp; ]]> \"</a> <!-- --> <?x?> &#13; &#0;"_s;
    QTest::newRow("CDATA") << u"<![CDATA[x]]>"_s;
    QTest::newRow("CR") << u"a\rb"_s;
    QTest::newRow("CRLF") << u"\r\na\r\n\r\n"_s;
    QTest::newRow("LF") << u"\na\n\n"_s;
    QTest::newRow("tabs") << u"\ta\t\tb\t"_s;
    QTest::newRow("outer spaces") << u"  a  b  "_s;
    QTest::newRow("one space") << u" "_s;
    QTest::newRow("NUL") << QString::fromUtf16(u"a\0b", 3);
    QTest::newRow("only NUL") << QString(1, QChar(0));
    QString controls;
    for (char16_t code = 0; code < 0xa0; ++code) {
        controls += QChar(code);
    }
    QTest::newRow("controls") << controls;
    QTest::newRow("GS1 separators") << u"\u001d0109506000134352\u001d17\u001e\u0004"_s;
    QTest::newRow("U+FFFE") << unit(0xfffe);
    QTest::newRow("U+FFFF") << u"a\uffff"_s;
    QTest::newRow("U+FEFF first") << unit(0xfeff) + u"a"_s;
    QTest::newRow("U+FEFF twice") << unit(0xfeff) + unit(0xfeff);
    QTest::newRow("high surrogate") << unit(0xd83d);
    QTest::newRow("low surrogate") << u"a"_s + unit(0xde00) + u"b"_s;
    QTest::newRow("surrogates the wrong way round") << unit(0xde00) + unit(0xd83d);
    QTest::newRow("two high surrogates and a low") << unit(0xd83d) + unit(0xd83d) + unit(0xde00);
    QTest::newRow("astral") << u"😀 𝄞 \U0010ffff \U0001fffe"_s;
    QTest::newRow("bidirectional") << u"\u202egnp.exe \u2067שלום\u2069 مرحبا \u200f"_s;
    QTest::newRow("line separators") << u"a\u0085b\u2028c\u2029d"_s;
    QTest::newRow("combining") << u"e\u0301 Z\u0351\u036b\u0343 \u200d\u200c"_s;
    QTest::newRow("backslashes") << u"C:\\new\\u0041 \\\\"_s;
    QTest::newRow("backslashes with NUL") << u"C:\\new\\u0041 \\\\"_s + QChar(0) + u"\\u0000\\"_s;
    QTest::newRow("digits after an escape") << unit(1) + u"0041"_s;
    QTest::newRow("megabytes") << u"0123456789<ü>\r\n"_s.repeated(200'000);
    QTest::newRow("megabytes to escape") << u"012345\\<ü>\n"_s.repeated(100'000) + QChar(7);
}

void TestXmlStore::roundTripsTexts()
{
    QFETCH(const QString, text);
    {
        OpenStore store(m_path);
        insertCapture(store.context, text)->setValue(Notes, text);
        QVERIFY(store.context.save());
    }
    const OpenStore store(m_path);
    QVERIFY2(store.opened, qPrintable(store.failure()));
    QVERIFY(store.texts() == std::vector{ text });
    QVERIFY(std::get<QString>(store.captures().front()->value(Notes)) == text);
    QXmlStreamReader other(fileBytes(m_path));
    while (!other.atEnd()) {
        other.readNext();
    }
    QVERIFY2(!other.hasError(), qPrintable(other.errorString()));
}

void TestXmlStore::roundTripsRandomTexts()
{
    std::mt19937 random(20240229);
    const std::u16string_view favourites(u"\0\t\n\r &<>\"'\\u0]\x7f\u0085\ufeff\ufffe\uffff", 18);
    std::vector<QString> texts;
    for (int index = 0; index < 2000; ++index) {
        QString text(static_cast<qsizetype>(random() % 40), Qt::Uninitialized);
        for (QChar& unit : text) {
            const auto kind = random() % 4;
            unit = kind == 0 ? QChar(static_cast<char16_t>(random()))
                : kind == 1  ? QChar(static_cast<char16_t>(0xd800 + random() % 0x800))
                : kind == 2  ? QChar(favourites[random() % favourites.size()])
                             : QChar(static_cast<char16_t>('a' + random() % 26));
        }
        texts.push_back(text);
    }
    {
        OpenStore store(m_path);
        for (const QString& text : texts) {
            insertCapture(store.context, text);
        }
        QVERIFY(store.context.save());
    }
    const OpenStore store(m_path);
    QVERIFY(store.opened);
    QVERIFY(store.texts() == texts);
}

void TestXmlStore::escapesOnlyWhatNeedsIt()
{
    QVERIFY(!needsEscape(u"\t\r\n\\ \u007f\u0085\ufffd😀"));
    QVERIFY(needsEscape(u"a\u0001"));
    QCOMPARE(escaped(QString::fromUtf16(u"a\\\0\uffff", 4)), u"a\\\\\\u0000\\uffff"_s);
    QCOMPARE(unescaped(u"a\\\\\\u0000\\uffff"), QString::fromUtf16(u"a\\\0\uffff", 4));
    for (const auto* const wrong :
        { u"\\", u"\\n", u"\\u12", u"\\u12g4", u"\\u +12", u"\\U0041" }) {
        QVERIFY(!unescaped(QStringView(wrong)));
    }
}

void TestXmlStore::distinguishesEmptyFromAbsent()
{
    {
        OpenStore store(m_path);
        insertCapture(store.context)->setValue(Notes, QString());
        insertCapture(store.context);
        QVERIFY(store.context.save());
    }
    const OpenStore store(m_path);
    const auto captures = store.captures();
    QCOMPARE(std::get<QString>(captures[0]->value(Notes)), QString());
    QVERIFY(std::holds_alternative<std::monostate>(captures[1]->value(Notes)));
}

void TestXmlStore::roundTripsDates_data()
{
    QTest::addColumn<qint64>("instant");
    QTest::newRow("epoch") << qint64{ 0 };
    QTest::newRow("just before the epoch") << qint64{ -1 };
    QTest::newRow("a day before the epoch") << qint64{ -86'400'000 };
    QTest::newRow("first") << qint64{ firstStoreDate };
    QTest::newRow("last") << qint64{ lastStoreDate };
    QTest::newRow("leap day")
        << QDateTime(QDate(2000, 2, 29), QTime(23, 59, 59, 999), Qt::UTC).toMSecsSinceEpoch();
    std::mt19937_64 random(7);
    for (int index = 0; index < 200; ++index) {
        std::uniform_int_distribution<qint64> dates(firstStoreDate, lastStoreDate);
        QTest::addRow("random %d", index) << dates(random);
    }
}

void TestXmlStore::roundTripsDates()
{
    QFETCH(const qint64, instant);
    const StoreDateText text = formatStoreDate(instant);
    const std::string_view view(text.data(), text.size());
    QCOMPARE(parseStoreDate(view), std::optional<std::int64_t>(instant));
    const QDateTime expected = QDateTime::fromMSecsSinceEpoch(instant, Qt::UTC);
    QCOMPARE(QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())),
        expected.toString(Qt::ISODateWithMs));
}

void TestXmlStore::refusesDatesThatDoNotExist_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const auto* const text : { "", "2024-02-29", "2024-02-29T12:00:00Z",
             "2023-02-29T12:00:00.000Z", "2024-13-01T12:00:00.000Z", "2024-00-01T12:00:00.000Z",
             "2024-01-00T12:00:00.000Z", "0000-01-01T12:00:00.000Z", "2024-01-01T24:00:00.000Z",
             "2024-01-01T12:60:00.000Z", "2024-01-01T12:00:60.000Z", "2024-01-01T12:00:00.000",
             "2024-01-01t12:00:00.000Z", "2024-01-01T12:00:00.000z", "2024-01-01 12:00:00.000Z",
             "2024-01-01T12:00:00,000Z", "+024-01-01T12:00:00.000Z", "2024-01-01T12:00:00.-01Z",
             " 2024-01-01T12:00:00.000Z", "20240-01-01T12:00:00.000Z" }) {
        QTest::newRow(text) << QByteArray(text);
    }
}

void TestXmlStore::refusesDatesThatDoNotExist()
{
    QFETCH(const QByteArray, text);
    QVERIFY(!parseStoreDate({ text.constData(), static_cast<std::size_t>(text.size()) }));
}

void TestXmlStore::keepsTheBytesOfWhatHasNotChanged()
{
    const QByteArray first
        = object("2", "  <!-- kept --><attribute  name='captureValue'>a</attribute>");
    setFileBytes(m_path, storeOf(first + object("5") + object("6")));
    OpenStore store(m_path);
    QVERIFY(store.opened);
    store.captures()[1]->setValue(Value, u"b"_s);
    QVERIFY(store.context.save());
    const QByteArray changed = object("5", attribute("captureValue", "b"));
    QCOMPARE(fileBytes(m_path), storeOf(first + changed + object("6")));
}

void TestXmlStore::readsWhatAPersonHasEdited()
{
    setFileBytes(m_path,
        "\xef\xbb\xbf<store nextId='9' model='Vellumcap' format='1' modelVersion='1'>"
        "<!-- a comment --><object id='3' entity='Capture'>"
            + attribute("isURL", "<!-- so -->false")
            + attribute("captureValue", "<![CDATA[<x>]]>&#65;")
            + attribute("dateCaptured", "1969-07-20T20:17:40.000Z")
            + attribute("captureImageKey", "") + attribute("captureType", "2")
            + "</object></store>");
    const OpenStore store(m_path);
    QVERIFY2(store.opened, qPrintable(store.failure()));
    QCOMPARE(store.texts(), std::vector{ u"<x>A"_s });
}

void TestXmlStore::doesNotChangeUnreadableFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("code");
    const auto damaged = [](const char* name, const QByteArray& bytes) {
        QTest::newRow(name) << bytes << static_cast<int>(StoreErrorCode::Damaged);
    };
    const auto newer = [](const char* name, const QByteArray& bytes) {
        QTest::newRow(name) << bytes << static_cast<int>(StoreErrorCode::NewerVersion);
    };
    damaged("empty", {});
    damaged("garbage", "\x89PNG\r\n\x1a\n\0\0");
    damaged("zeros", QByteArray(4096, 0));
    damaged("another root", "<model name='Vellumcap' version='1'/>");
    damaged("no format", "<store model='Vellumcap' modelVersion='1' nextId='1'/>");
    damaged("no next identity", "<store format='1' model='Vellumcap' modelVersion='1'/>");
    damaged("no end", header + object("1"));
    damaged("a tail", storeOf(object("1")) + "<store/>");
    damaged("an identity twice", storeOf(object("1") + object("1")));
    damaged("identities out of order", storeOf(object("2") + object("1")));
    damaged("an identity to come", storeOf(object("9")));
    damaged("identity zero", storeOf(object("0")));
    damaged("no identity", storeOf("<object entity='Capture'></object>"));
    damaged("no number", storeOf(object("1", attribute("captureType", "one"))));
    damaged("an attribute twice",
        storeOf(object("1", attribute("captureValue", "a") + attribute("captureValue", "b"))));
    damaged("a required attribute missing", storeOf(object("1", {})));
    damaged("text between", storeOf("lost" + object("1")));
    damaged("an element within", storeOf(object("1", attribute("captureValue", "<b>a</b>"))));
    damaged("an unknown element", storeOf("<folder/>"));
    damaged("a wrong escape",
        storeOf(object("1", "<attribute name='captureValue' escaped='yes'>\\x</attribute>")));
    damaged("an escaped number",
        storeOf(object("1").replace("\"captureType\"", "\"captureType\" escaped=\"yes\"")));
    damaged("a wrong number", storeOf(object("1").replace(">1<", ">2147483648<")));
    damaged("a wrong Boolean", storeOf(object("1").replace(">true<", ">YES<")));
    damaged("a wrong date", storeOf(object("1").replace("2024-02-29", "2023-02-29")));
    damaged("bad UTF-8", storeOf(object("1", attribute("captureValue", "\xc3\x28"))));
    damaged("a control character", storeOf(object("1", attribute("captureValue", "\x01"))));
    damaged("a document type",
        "<!DOCTYPE store [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;&a;'>]>" + header.mid(39)
            + object("1", attribute("captureValue", "&b;")) + "</store>");
    newer("an unknown entity", storeOf(object("1").replace("Capture\"", "Folder\"")));
    newer("an unknown attribute", storeOf(object("1", attribute("rating", "5"))));
    newer("a newer model", storeOf({}).replace("modelVersion=\"1\"", "modelVersion=\"2\""));
    newer("a newer format", storeOf({}).replace("format=\"1\"", "format=\"2\" more=\"x\""));
    QTest::newRow("another model") << storeOf({}).replace("Vellumcap", "Other")
                                   << static_cast<int>(StoreErrorCode::OtherModel);
}

void TestXmlStore::doesNotChangeUnreadableFiles()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const int, code);
    setFileBytes(m_path, bytes);
    OpenStore store(m_path);
    QVERIFY(!store.opened);
    QCOMPARE(store.opened.error().domain, QLatin1StringView(storeErrorDomain));
    QCOMPARE(store.opened.error().code, code);
    QVERIFY(store.opened.error().localizedDescription.contains(m_path));
    QVERIFY(store.opened.error().failureReason.contains(u"not been changed"));
    QCOMPARE(store.opened.error().localizedDescription.contains(u"newer version of Vellumcap"),
        code == static_cast<int>(StoreErrorCode::NewerVersion));

    insertCapture(store.context);
    QVERIFY(!store.context.save());
    QCOMPARE(fileBytes(m_path), bytes);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void TestXmlStore::doesNotChangeTruncatedFiles()
{
    const QByteArray whole = storeOf(object("1") + object("2"));
    // Only the line feed after the last tag may be missing.
    for (qsizetype length = 0; length < whole.size() - 1; ++length) {
        setFileBytes(m_path, whole.first(length));
        const OpenStore store(m_path);
        QVERIFY(!store.opened);
        QCOMPARE(fileBytes(m_path), whole.first(length));
    }
}

VELLUMCAP_TEST(TestXmlStore)
#include "tst_xmlstore.moc"
