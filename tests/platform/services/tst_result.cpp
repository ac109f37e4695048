#include "platform/services/Result.h"
#include "tests/support/TestMain.h"

#include <memory>

using platform::Error;
using platform::Result;
using namespace Qt::StringLiterals;

class ResultTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void holdsAValue();
    void holdsAnError();
    void holdsAValueThatCountsAsFalse();
    void changesItsValue();
    void givesAwayAValueThatCannotBeCopied();
    void outlivesATemporaryInALoop();
    void succeedsWithoutAValue();
    void failsWithoutAValue();
};

namespace {

const Error failure{ u"posix"_s, 13, u"The file could not be read."_s, u"Permission denied"_s };

Result<QString> divided(int dividend, int divisor)
{
    if (divisor == 0) {
        return failure;
    }
    return QString::number(dividend / divisor);
}

Result<void> written(bool canWrite)
{
    if (!canWrite) {
        return failure;
    }
    return {};
}

} // namespace

void ResultTest::holdsAValue()
{
    const Result<QString> result = divided(84, 2);
    QVERIFY(result);
    QCOMPARE(result.value(), u"42"_s);
    QCOMPARE(*result, u"42"_s);
    QCOMPARE(result->size(), 2);
}

void ResultTest::holdsAnError()
{
    const Result<QString> result = divided(84, 0);
    QVERIFY(!result);
    QCOMPARE(result.error(), failure);
}

void ResultTest::holdsAValueThatCountsAsFalse()
{
    const Result<bool> result = false;
    QVERIFY(result);
    QCOMPARE(*result, false);
}

void ResultTest::changesItsValue()
{
    Result<QString> result = u"code"_s;
    *result += u"s"_s;
    result->prepend(u"bar"_s);
    result.value().append(u"!"_s);
    QCOMPARE(*result, u"barcodes!"_s);
}

void ResultTest::givesAwayAValueThatCannotBeCopied()
{
    Result<std::unique_ptr<int>> result = std::make_unique<int>(7);
    const std::unique_ptr<int> number = *std::move(result);
    QVERIFY(number != nullptr);
    QCOMPARE(*number, 7);
}

void ResultTest::outlivesATemporaryInALoop()
{
    const auto numbers = [] { return Result<QList<int>>(QList<int>{ 1, 2, 3 }); };
    QList<int> seen;
    for (const int number : *numbers()) {
        seen.append(number);
    }
    QCOMPARE(seen, QList<int>({ 1, 2, 3 }));
}

void ResultTest::succeedsWithoutAValue()
{
    QVERIFY(written(true));
}

void ResultTest::failsWithoutAValue()
{
    const Result<void> result = written(false);
    QVERIFY(!result);
    QCOMPARE(result.error(), failure);
}

VELLUMCAP_TEST(ResultTest)

#include "tst_result.moc"
