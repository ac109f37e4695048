#include "app/LinkRule.h"
#include "tests/support/TestMain.h"

using namespace Qt::StringLiterals;

class LinkRuleTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void recognisesLinks_data();
    void recognisesLinks();
};

void LinkRuleTest::recognisesLinks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("link");
    const auto row = [](const char* name, const QString& text, bool link) {
        QTest::newRow(name) << text << link;
    };
    row("web address", u"https://example.org/a/b?c=d&e=f#g"_s, true);
    row("host only", u"http://example.org"_s, true);
    row("port and user", u"https://user@example.org:8443/x"_s, true);
    row("any scheme", u"made-up+1.0://host/path"_s, true);
    row("IPv6 host", u"http://[2001:db8::1]:80/"_s, true);
    row("escaped space", u"http://example.org/a%20b"_s, true);
    row("upper case", u"HTTP://EXAMPLE.ORG/"_s, true);
    row("quote allowed by the RFC", u"http://example.org/it's"_s, true);

    row("empty", QString(), false);
    row("bare host", u"example.org"_s, false);
    row("bare host with path", u"example.org/path"_s, false);
    row("sentence", u"see http://example.org for more"_s, false);
    row("space", u"http://example.org/a b"_s, false);
    row("leading space", u" http://example.org"_s, false);
    row("trailing line end", u"http://example.org\n"_s, false);
    row("mail", u"mailto:someone@example.org"_s, false);
    row("telephone", u"tel:+491234"_s, false);
    row("network settings", u"WIFI:S:net;T:WPA;P:secret;;"_s, false);
    row("no host", u"http://"_s, false);
    row("no host but a path", u"http:///path"_s, false);
    row("file without host", u"file:///etc/passwd"_s, false);
    row("no scheme", u"//example.org/path"_s, false);
    row("scheme that begins with a digit", u"1http://example.org"_s, false);
    row("letters beyond ASCII", u"http://exämple.org/"_s, false);
    row("letters beyond ASCII in the path", u"http://example.org/ä"_s, false);
    row("broken escape", u"http://example.org/%zz"_s, false);
    row("cut escape", u"http://example.org/%2"_s, false);
    row("markup", u"http://example.org/<b>"_s, false);
    row("double quote", u"http://example.org/\"x\""_s, false);
    row("backslash", u"http://example.org\\x"_s, false);
    row("braces", u"http://example.org/{x}"_s, false);
    row("bar", u"http://example.org/a|b"_s, false);
    row("bracket in the path", u"http://example.org/[x]"_s, false);
    row("second number sign", u"http://example.org/#a#b"_s, false);
    row("NUL", u"http://example.org/"_s + QChar(u'\0'), false);
    row("port that is no number", u"http://example.org:x/"_s, false);
}

void LinkRuleTest::recognisesLinks()
{
    QFETCH(QString, text);
    QFETCH(bool, link);
    QCOMPARE(vellumcap::isLink(text), link);
}

VELLUMCAP_TEST(LinkRuleTest)
#include "tst_linkrule.moc"
