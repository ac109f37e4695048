#include "platform/script/Script.h"
#include "tests/support/LogLines.h"
#include "tests/support/Pictures.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

using platform::Script;

class ScriptTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// As in the program; Qt Test installs another handler.
    void initTestCase() { std::signal(SIGPIPE, SIG_DFL); }
    void passesArgumentsUnchanged_data();
    void passesArgumentsUnchanged();
    void describesResults_data();
    void describesResults();
    void runsTheTopLevelBeforeTheHandler();
    void runsNothingWhileLoading();
    void reportsWhyItWasNotLoaded_data();
    void reportsWhyItWasNotLoaded();
    void refusesPrecompiledChunks();
    void reportsWhyItFailed_data();
    void reportsWhyItFailed();
    void limitsMemory_data();
    void limitsMemory();
    void survivesDeepRecursion_data();
    void survivesDeepRecursion();
    void leavesTheProgramAlone_data();
    void leavesTheProgramAlone();
    void runsCommands();
    void printsIntoTheLog_data();
    void printsIntoTheLog();
    void stopsLoggingTooMuchOutput();
    void outlivesItsFile();
    void sharesNothingWithOthers();

private:
    QString write(const QByteArray& text, const QString& name = u"a.scpt"_s) const;
    Script loaded(const QByteArray& text) const;
    QString result(const QByteArray& text, const QStringList& arguments = {}) const;
    QString error(const QByteArray& text) const;

    QTemporaryDir m_folder;
};

QString ScriptTest::write(const QByteArray& text, const QString& name) const
{
    QString path = m_folder.filePath(name);
    support::writeFile(path, text);
    return path;
}

Script ScriptTest::loaded(const QByteArray& text) const
{
    auto script = Script::load(write(text));
    if (!script) {
        qFatal("%s", qUtf8Printable(script.error().localizedDescription));
    }
    return *std::move(script);
}

/// The result of the handler "h" of the script `text`, or "failed: " and the error.
QString ScriptTest::result(const QByteArray& text, const QStringList& arguments) const
{
    const auto outcome = loaded(text).executeHandler(u"h"_s, arguments);
    return outcome ? *outcome : u"failed: "_s + error(text);
}

/// The error of the handler "h" of the script `text`; empty when it succeeds.
QString ScriptTest::error(const QByteArray& text) const
{
    const auto outcome = loaded(text).executeHandler(u"h"_s, {});
    return outcome ? QString() : outcome.error().localizedDescription;
}

void ScriptTest::passesArgumentsUnchanged_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("one") << QStringList{ u"https://example.org/"_s };
    QTest::newRow("none") << QStringList{};
    QTest::newRow("empty") << QStringList{ QString() };
    QTest::newRow("many") << QStringList(300, u"a"_s);
    QTest::newRow("other scripts") << QStringList{ u"Grüße 読む 😀 e\u0301"_s };
    QTest::newRow("quotes") << QStringList{ uR"("a" 'b' `c` \n ]] --[[ %s $(id))"_s };
    QTest::newRow("line ends") << QStringList{ u"a\nb\r\nc\rd\u2028e\u0085"_s };
    QString controls;
    for (char16_t unit = 0; unit < 0x20; ++unit) {
        controls += QChar(unit);
    }
    QTest::newRow("control characters") << QStringList{ controls + QChar(0x7f) };
    QTest::newRow("null character in the middle")
        << QStringList{ u"a"_s + QChar(0) + u"b"_s, u"c"_s };
    QTest::newRow("long") << QStringList{ QString(100'000, u'x') };
}

void ScriptTest::passesArgumentsUnchanged()
{
    QFETCH(QStringList, arguments);

    // Returned as hexadecimal digits, so that no conversion can hide a difference.
    QByteArray expected;
    for (const QString& argument : arguments) {
        expected += argument.toUtf8().toHex() + '\n';
    }
    const QString path = m_folder.filePath(u"seen"_s);
    const QByteArray script = "function h(...)\n"
                              "  local file = io.open('"
        + path.toUtf8()
        + "', 'w')\n"
          "  for _, text in ipairs { ... } do\n"
          "    assert(type(text) == 'string')\n"
          "    local hex = text:gsub('.', function(byte)\n"
          "      return ('%02x'):format(byte:byte()) end)\n"
          "    file:write(hex, '\\n')\n"
          "  end\n"
          "  file:close()\n"
          "  return 'done'\n"
          "end\n";
    QCOMPARE(result(script, arguments), u"done"_s);
    QFile seen(path);
    QVERIFY(seen.open(QFile::ReadOnly));
    QCOMPARE(seen.readAll(), expected);
}

void ScriptTest::describesResults_data()
{
    QTest::addColumn<QByteArray>("expression");
    QTest::addColumn<QString>("description");
    const auto row = [](const char* expression, const QString& description) {
        QTest::newRow(expression) << QByteArray(expression) << description;
    };
    row("", u"nil"_s);
    row("nil", u"nil"_s);
    row("'text'", u"text"_s);
    row("''", QString());
    row("1.5", u"1.5"_s);
    row("1 << 62", u"4611686018427387904"_s);
    row("true, nil, 'a'", u"true, nil, a"_s);
    row("setmetatable({}, { __tostring = function() return 'mine' end })", u"mine"_s);
    row("'\\255'", u"\uFFFD"_s);
    row("('x'):rep(10000)", QString(8192, u'x') + u"…"_s);
    row("('x'):rep(100 * 1024 * 1024)", QString(8192, u'x') + u"…"_s);
    row("table.unpack({}, 1, 100000)", u"nil, "_s.repeated(100000).left(8192) + u"…"_s);
    row("#{ table.unpack({}, 1, 1000) }, table.unpack({}, 1, 3)", u"0, nil, nil, nil"_s);
}

void ScriptTest::describesResults()
{
    QFETCH(QByteArray, expression);
    QFETCH(QString, description);

    QCOMPARE(result("function h() return " + expression + " end"), description);
    const auto outcome = loaded("return " + expression).execute();
    QVERIFY(outcome);
    QCOMPARE(*outcome, description);
}

void ScriptTest::runsTheTopLevelBeforeTheHandler()
{
    QCOMPARE(result("count = (count or 0) + 1\n"
                    "local mine = 'top'\n"
                    "function h(a, b) return mine, count, a, b end",
                 { u"1"_s, u"2"_s }),
        u"top, 1, 1, 2"_s);
    // Any name is possible, since it is a key of the table of globals.
    auto script = loaded("_G['a\\0b ü'] = function() return 'odd' end");
    const auto outcome = script.executeHandler(u"a"_s + QChar(0) + u"b ü"_s, {});
    QVERIFY(outcome);
    QCOMPARE(*outcome, u"odd"_s);
}

void ScriptTest::runsNothingWhileLoading()
{
    const QString path = m_folder.filePath(u"made"_s);
    const QByteArray text = "io.open('" + path.toUtf8() + "', 'w'):close()";
    auto script = loaded(text);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(*script.execute(), u"nil"_s);
    QVERIFY(QFile::exists(path));
}

void ScriptTest::reportsWhyItWasNotLoaded_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("reason");
    QTest::newRow("syntax") << QByteArray("function h(\nend")
                            << u":2: <name> or '...' expected near 'end'"_s;
    QTest::newRow("not Lua") << QByteArray("tell application \"Finder\"\n")
                             << u":1: syntax error near 'application'"_s;
    QTest::newRow("unfinished text") << QByteArray("x = [[") << u"unfinished long string"_s;
    QTest::newRow("binary") << QByteArray("\0\1\2\3", 4) << u"unexpected symbol"_s;
    QTest::newRow("nested") << "x = " + QByteArray(100'000, '(') << u"C stack overflow"_s;
}

void ScriptTest::reportsWhyItWasNotLoaded()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, reason);

    const QString path = write(text);
    const auto script = Script::load(path);
    QVERIFY(!script);
    const QString message = script.error().localizedDescription;
    QVERIFY2(message.contains(reason), qUtf8Printable(message));
    QCOMPARE(script.error().domain, u"lua"_s);

    QFile::remove(path);
    const auto missing = Script::load(path);
    QVERIFY(!missing);
    QCOMPARE(missing.error().localizedDescription,
        u"cannot open "_s + path + u": No such file or directory"_s);
    const auto folder = Script::load(m_folder.path());
    QVERIFY(!folder);
    QVERIFY(folder.error().localizedDescription.startsWith(u"cannot read "_s + m_folder.path()));
}

void ScriptTest::refusesPrecompiledChunks()
{
    const QString path = m_folder.filePath(u"compiled"_s);
    auto compiler = loaded("local file = io.open('" + path.toUtf8()
        + "', 'wb')\n"
          "file:write(string.dump(function() return 'ran' end))\n"
          "file:close()");
    QCOMPARE(*compiler.execute(), u"nil"_s);
    const auto script = Script::load(path);
    QVERIFY(!script);
    QVERIFY(script.error().localizedDescription.contains(
        u"attempt to load a binary chunk (mode is 't')"_s));

    // A script cannot load them either.
    for (const QByteArray& call :
        { QByteArray("load(string.dump(h))"), QByteArray("load(string.dump(h), 'h', 'b')"),
            "loadfile('" + path.toUtf8() + "', 'b')" }) {
        QVERIFY(result("function h() return select(2, " + call + ") end")
                    .endsWith(u"attempt to load a binary chunk (mode is 't')"_s));
    }
    QVERIFY(error("function h() dofile('" + path.toUtf8() + "') end")
                .contains(u"attempt to load a binary chunk"_s));
    QVERIFY(error("package.path = '" + m_folder.path().toUtf8()
        + "/?'\n"
          "function h() require 'compiled' end")
                .contains(u"attempt to load a binary chunk"_s));

    write("return { name = ... }", u"module.lua"_s);
    QCOMPARE(result("package.path = '" + m_folder.path().toUtf8()
                 + "/?.lua'\n"
                   "local environment = { x = 7 }\n"
                   "function h() return require('module').name,\n"
                   "  load('return x', 'x', 't', environment)(), load('return x')() end"),
        u"module, 7, nil"_s);
}

void ScriptTest::reportsWhyItFailed_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("message"); ///< beginning or end of its first line
    const auto row = [](const char* name, const char* text, const char* message) {
        QTest::newRow(name) << QByteArray(text) << QString::fromUtf8(message);
    };
    row("no handler", "x = 1", "the script has no function 'h'");
    row("no function", "h = 'text'", "attempt to call a string value");
    row("raised", "function h() error('out of luck') end", "a.scpt:1: out of luck");
    row("raised bare", "function h() error('Grüße', 0) end", "Grüße");
    row("raised by the top level", "error('at the top', 0)\nfunction h() end", "at the top");
    row("table", "function h() error({}) end", "(error object is a table value)");
    row("nothing", "function h() error() end", "(error object is a nil value)");
    row("described",
        "function h() error(setmetatable({}, { __tostring = function()\n"
        "  return 'described' end })) end",
        "described");
    row("badly described",
        "function h() error(setmetatable({}, { __tostring = function()\n"
        "  return error('again', 0) end })) end",
        "again");
    row("arithmetic", "function h() return 1 + nil end",
        "a.scpt:1: attempt to perform arithmetic "
        "on a nil value");
    row("exit", "function h() os.exit(0) end",
        "a.scpt:1: os.exit: a script ends by returning, and never the program");
    row("exit at the top", "os.exit(true, true)",
        "a.scpt:1: os.exit: a script ends by returning, and never the program");
}

void ScriptTest::reportsWhyItFailed()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, message);

    const QString said = error(text);
    QVERIFY2(said.section(u'\n', 0, 0).endsWith(message), qUtf8Printable(said));
    if (QByteArray(QTest::currentDataTag()) != "badly described") {
        QVERIFY2(said.contains(u"\nstack traceback:\n\t"_s), qUtf8Printable(said));
    }
}

void ScriptTest::limitsMemory_data()
{
    QTest::addColumn<QByteArray>("body");
    const auto row
        = [](const char* name, const char* body) { QTest::newRow(name) << QByteArray(body); };
    row("10 GB string",
        "local part = ('x'):rep(1024 * 1024)\n"
        "return #table.concat(setmetatable({}, {\n"
        "  __len = function() return 10240 end,\n"
        "  __index = function() return part end }))");
    row("300 MB string", "return #('x'):rep(300 * 1024 * 1024)");
    row("doubling string", "local s = 'x' while true do s = s .. s end");
    row("table", "local t = {} for i = 1, math.huge do t[i] = i end");
    row("tables", "local t = {} while true do t = { t } end");
    row("file", "return io.open('/dev/zero'):read('a')");
    row("replacement", "return (('x'):rep(1000000):gsub('x', ('y'):rep(1000)))");
    row("coroutines",
        "local t = {} while true do\n"
        "  t[#t + 1] = coroutine.create(function() end) end");
    row("code",
        "local piece = 'x = [['\n"
        "return load(function()\n"
        "  local last = piece piece = ('y'):rep(1000000) return last end)");
    row("caught and repeated",
        "for i = 1, 20 do\n"
        "  assert(not pcall(string.rep, 'x', 300 * 1024 * 1024)) end\n"
        "return ('x'):rep(300 * 1024 * 1024)");
}

void ScriptTest::limitsMemory()
{
    QFETCH(QByteArray, body);

    const QString said = error("function h() " + body + " end");
    const QString described = said.isEmpty() ? result("function h() " + body + " end") : said;
    QVERIFY2(described.contains(u"not enough memory"_s), qUtf8Printable(described));
    QVERIFY(error("function h() return ('x'):rep(10 << 30) end")
                .contains(u"resulting string too large"_s));
    // The next script can use all of its memory.
    QCOMPARE(result("function h() return #('x'):rep(100 * 1024 * 1024) end"), u"104857600"_s);
}

void ScriptTest::survivesDeepRecursion_data()
{
    QTest::addColumn<QByteArray>("text");
    const auto row
        = [](const char* name, const char* text) { QTest::newRow(name) << QByteArray(text); };
    row("calls", "function h() return 1 + h() end");
    row("protected calls",
        "function h() local fine, reason = pcall(h)\n"
        "  error(reason, 0) end");
    row("callbacks", "function h() return (('x'):gsub('x', h)) end");
    row("coroutines", "function h() return coroutine.wrap(h)() end");
    row("comparisons", "function h() table.sort({ 1, 2, 3 }, h) end");
    row("descriptions",
        "t = setmetatable({}, { __tostring = function(t) return tostring(t) end })\n"
        "function h() return tostring(t) end");
    row("indices",
        "t = setmetatable({}, { __index = function(t, k) return t[k .. 'x'] end })\n"
        "function h() return t.x end");
    row("code", "function h() assert(load('x = ' .. ('{'):rep(100000))) end");
    row("error handlers",
        "function h() return select(2, xpcall(h, function() error('x') end)) end\n"
        "local inner = h h = function() error(tostring(inner()) .. 'overflow') end");
    row("module",
        "package.preload.m = function() package.loaded.m = nil return require 'm' end\n"
        "function h() require 'm' end");
}

void ScriptTest::survivesDeepRecursion()
{
    QFETCH(QByteArray, text);

    // On another thread, as in the program: its stack is not that of the main thread.
    QString said;
    std::thread([&] { said = error(text); }).join();
    QVERIFY2(said.contains(u"overflow"_s), qUtf8Printable(said));
}

void ScriptTest::leavesTheProgramAlone_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("description");
    const auto row = [](const char* name, const char* body, const char* description) {
        QTest::newRow(name) << QByteArray(body) << QString::fromUtf8(description);
    };
    row("locale", "return os.setlocale('C.UTF-8'), os.setlocale('', 'all'), os.setlocale()",
        "nil, nil, C");
    row("hook", "return (pcall(debug.sethook))", "false");
    row("standard input", "return io.read('a'), io.read(1)", ", nil");
    row("closing the output", "return io.close(), io.stdout:close(), io.stderr:close()",
        "nil, nil, cannot close standard file");
    row("all descriptors",
        "local kept = {}\n"
        "local fine, reason = pcall(function()\n"
        "  while true do kept[#kept + 1] = assert(io.open('/dev/null')) end end)\n"
        "local count = #kept\n"
        "kept = nil\n"
        "return reason, count > 100, io.type(io.open('/dev/null'))",
        "a.scpt:3: io.open: too many open files, true, file");
    row("forgotten files",
        "for i = 1, 5000 do io.output('/dev/null') io.lines('/dev/null') end\n"
        "return 'fine'",
        "fine");
    row("broken pipe",
        "local command = io.popen('exec true', 'w')\n"
        "local fine\n"
        "repeat fine = command:write(('x'):rep(100000)) and command:flush()\n"
        "until not fine\n"
        "command:close()\n"
        "return fine",
        "nil");
    row("finalizer", "setmetatable({}, { __gc = function() error('late') end }) return 1", "1");
    row("registry", "debug.getregistry()._LOADED = nil debug.getregistry()[1] = nil return 1", "1");
}

void ScriptTest::leavesTheProgramAlone()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, description);

    const QByteArray before = std::setlocale(LC_ALL, nullptr);
    const QString said = result("function h() " + body + " end");
    QVERIFY2(said.endsWith(description), qUtf8Printable(said));
    QCOMPARE(QByteArray(std::setlocale(LC_ALL, nullptr)), before);
    QVERIFY(::fcntl(STDOUT_FILENO, F_GETFD) != -1);
}

void ScriptTest::runsCommands()
{
    QCOMPARE(result("function h() return os.execute() end"), u"true"_s);
    QCOMPARE(result("function h() return os.execute('exit 0') end"), u"true, exit, 0"_s);
    QCOMPARE(result("function h() return os.execute('exit 3') end"), u"nil, exit, 3"_s);
    QCOMPARE(result("function h() return os.execute('kill -TERM $$') end"), u"nil, signal, 15"_s);
    QVERIFY(error("function h() os.execute('true\\0false') end")
                .contains(u"a command cannot hold a zero byte"_s));
    QCOMPARE(result("function h() return io.popen('echo heard'):read() end"), u"heard"_s);
    // Commands must not inherit ignored signals.
    QCOMPARE(result("function h()\n"
                    "  local command = io.popen('grep SigIgn: /proc/self/status')\n"
                    "  return command:read('a'):match('%x+')\n"
                    "end")
                 .toULongLong(nullptr, 16)
            & ((1U << (SIGPIPE - 1)) | (1U << (SIGINT - 1))),
        0ULL);
}

void ScriptTest::printsIntoTheLog_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, const char* body, const QStringList& lines) {
        QTest::newRow(name) << QByteArray(body) << lines;
    };
    row("nothing", "", {});
    row("print", "print('a', 1, nil, true) print()",
        { u"a\\u00091\\u0009nil\\u0009true"_s, QString() });
    row("write", "io.write('a', 1) io.write('b\\nc')", { u"a1b"_s, u"c"_s });
    row("standard streams",
        "io.stderr:write('error\\n') io.stdout:write('output\\n') print('both')",
        { u"error"_s, u"output"_s, u"both"_s });
    row("lines in one", "print('one\\ntwo')", { u"one"_s, u"two"_s });
    row("not the log's own", "print('\\27[2J\\r\\0')", { u"\\u001b[2J\\u000d\\u0000"_s });
    row("no Unicode", "print('\\255')", { u"\uFFFD"_s });
    row("described", "print(setmetatable({}, { __tostring = function() return 'it' end }))",
        { u"it"_s });
    row("long", "print(('x'):rep(50000000)) print('next')",
        { QString(4097, u'x') + u"…"_s, u"next"_s });
    row("buffered", "io.stdout:setvbuf('full') print('a') print('b')", { u"a"_s, u"b"_s });
    row("own names", "table = nil tostring = nil print('a', 2)", { u"a\\u00092"_s });
    row("before an error", "print('seen') error('x')", { u"seen"_s });
}

void ScriptTest::printsIntoTheLog()
{
    QFETCH(QByteArray, body);
    QFETCH(QStringList, lines);

    const support::LogLines log;
    static_cast<void>(loaded("function h() " + body + " end").executeHandler(u"h"_s, {}));
    QCOMPARE(support::LogLines::all(), lines);
}

void ScriptTest::stopsLoggingTooMuchOutput()
{
    const support::LogLines log;
    QCOMPARE(
        result("function h() for i = 1, 200000 do print(('x'):rep(99)) end return 1 end"), u"1"_s);
    const QStringList lines = support::LogLines::all();
    QCOMPARE(lines.last(), u"The script prints too much; the rest is left out"_s);
    QCOMPARE(lines.size(), 1024 * 1024 / 100 + 2);
}

void ScriptTest::outlivesItsFile()
{
    // The file is deleted and replaced, before and while the script runs.
    const QByteArray text
        = "function h(path)\n"
          "  assert(os.remove(path))\n"
          "  local before = later()\n"
          "  io.open(path, 'w'):write('function h() return \"new\" end'):close()\n"
          "  return before, later()\n"
          "end\n"
          "function later() return 'old' end\n";
    const QString path = write(text);
    QCOMPARE(result(text, { path }), u"old, old"_s);
    const auto replaced = Script::load(path);
    auto script = loaded("function h() return 'unlinked' end");
    QVERIFY(QFile::remove(path));
    const auto outcome = script.executeHandler(u"h"_s, {});
    QVERIFY(outcome);
    QCOMPARE(*outcome, u"unlinked"_s);
    QVERIFY(replaced);
}

void ScriptTest::sharesNothingWithOthers()
{
    const QString path = write("count = 0\n"
                               "function h(own)\n"
                               "  for i = 1, 300000 do\n"
                               "    count = count + 1\n"
                               "    string.last, io.last = own, own\n"
                               "  end\n"
                               "  return count, string.last == own and io.last == own\n"
                               "end\n");
    std::array<QString, 4> seen;
    std::array<std::thread, 4> threads;
    for (std::size_t index = 0; index < threads.size(); ++index) {
        threads[index] = std::thread([&, index] {
            auto script = Script::load(path);
            const auto outcome = script->executeHandler(u"h"_s, { QString::number(index) });
            seen[index] = *outcome;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const QString& each : seen) {
        QCOMPARE(each, u"300000, true"_s);
    }
}

VELLUMCAP_TEST(ScriptTest)

#include "tst_script.moc"
