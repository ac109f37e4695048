#include "app/LinkRule.h"
#include "tests/support/TestMain.h"

class LinkRuleTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsLinks_data();
    void tellsLinks();
};

void LinkRuleTest::tellsLinks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("link");
    const auto row = [](const char* name, const QString& text, bool link) {
        QTest::newRow(name) << text << link;
    };
    row("web address", QStringLiteral("https://example.org/a/b?c=d&e=f#g"), true);
    row("host only", QStringLiteral("http://example.org"), true);
    row("port and user", QStringLiteral("https://user@example.org:8443/x"), true);
    row("any scheme", QStringLiteral("made-up+1.0://host/path"), true);
    row("IPv6 host", QStringLiteral("http://[2001:db8::1]:80/"), true);
    row("escaped space", QStringLiteral("http://example.org/a%20b"), true);
    row("upper case", QStringLiteral("HTTP://EXAMPLE.ORG/"), true);
    row("quote allowed by the RFC", QStringLiteral("http://example.org/it's"), true);

    row("empty", QString(), false);
    row("bare host", QStringLiteral("example.org"), false);
    row("bare host with path", QStringLiteral("example.org/path"), false);
    row("sentence", QStringLiteral("see http://example.org for more"), false);
    row("space", QStringLiteral("http://example.org/a b"), false);
    row("leading space", QStringLiteral(" http://example.org"), false);
    row("trailing line end", QStringLiteral("http://example.org\n"), false);
    row("mail", QStringLiteral("mailto:someone@example.org"), false);
    row("telephone", QStringLiteral("tel:+491234"), false);
    row("network settings", QStringLiteral("WIFI:S:net;T:WPA;P:secret;;"), false);
    row("no host", QStringLiteral("http://"), false);
    row("no host but a path", QStringLiteral("http:///path"), false);
    row("file without host", QStringLiteral("file:///etc/passwd"), false);
    row("no scheme", QStringLiteral("//example.org/path"), false);
    row("scheme that begins with a digit", QStringLiteral("1http://example.org"), false);
    row("letters beyond ASCII", QStringLiteral("http://exämple.org/"), false);
    row("letters beyond ASCII in the path", QStringLiteral("http://example.org/ä"), false);
    row("broken escape", QStringLiteral("http://example.org/%zz"), false);
    row("cut escape", QStringLiteral("http://example.org/%2"), false);
    row("markup", QStringLiteral("http://example.org/<b>"), false);
    row("double quote", QStringLiteral("http://example.org/\"x\""), false);
    row("backslash", QStringLiteral("http://example.org\\x"), false);
    row("braces", QStringLiteral("http://example.org/{x}"), false);
    row("bar", QStringLiteral("http://example.org/a|b"), false);
    row("bracket in the path", QStringLiteral("http://example.org/[x]"), false);
    row("second number sign", QStringLiteral("http://example.org/#a#b"), false);
    row("NUL", QStringLiteral("http://example.org/") + QChar(u'\0'), false);
    row("port that is no number", QStringLiteral("http://example.org:x/"), false);
}

void LinkRuleTest::tellsLinks()
{
    QFETCH(QString, text);
    QFETCH(bool, link);
    QCOMPARE(vellumcap::isLink(text), link);
}

VELLUMCAP_TEST_MAIN(LinkRuleTest)
#include "tst_linkrule.moc"
