#pragma once

#include "platform/ui/Application.h"
#include "tests/support/Sandbox.h"

#include <QStringList>
#include <QTest>

namespace support {

/// How long tests wait for an expected state, in milliseconds: enough for a slow machine that runs
/// other tests at the same time.
inline constexpr int patience = 20'000;

} // namespace support

// The macros of Qt wait for 5 s only.
#undef QTRY_VERIFY
#define QTRY_VERIFY(expr) QTRY_VERIFY_WITH_TIMEOUT(expr, support::patience)
#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expr, message) QTRY_VERIFY2_WITH_TIMEOUT(expr, message, support::patience)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expr, expected) QTRY_COMPARE_WITH_TIMEOUT(expr, expected, support::patience)

namespace support {

/// A test of this program, known by the name of its source without the suffix. Created before
/// main().
class RegisteredTest {
public:
    using Run = int (*)(int argc, char** argv);

    RegisteredTest(const char* sourceName, Run run);
};

/// Arguments with which this program runs the given cases of the current test.
QStringList argumentsForCases(const QStringList& cases);

/// Sandboxed folders, the real application object, and the cases of `TestClass`.
template <typename TestClass> int runTest(int argc, char** argv)
{
    const Sandbox sandbox;
    platform::Application application(argc, argv);
    TestClass cases;
    return QTest::qExec(&cases, argc, argv);
}

} // namespace support

/// Makes the cases of `TestClass` a test of the program that this source is linked into. The
/// program runs one test: `PROGRAM NAME [ARGUMENTS OF QT TEST]`.
#define VELLUMCAP_TEST(TestClass)                                                                  \
    static const support::RegisteredTest registered##TestClass(                                    \
        __FILE_NAME__, &support::runTest<TestClass>);
