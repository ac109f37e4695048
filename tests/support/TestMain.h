#pragma once

#include "platform/ui/Application.h"
#include "tests/support/Sandbox.h"

#include <QTest>

namespace support {

/// How long tests wait for what is to come, in ms: as long as a slow machine may take that is busy
/// with other tests.
inline constexpr int patience = 20'000;

} // namespace support

// Qt's own wait for 5 s.
#undef QTRY_VERIFY
#define QTRY_VERIFY(expr) QTRY_VERIFY_WITH_TIMEOUT(expr, support::patience)
#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expr, message) QTRY_VERIFY2_WITH_TIMEOUT(expr, message, support::patience)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expr, expected) QTRY_COMPARE_WITH_TIMEOUT(expr, expected, support::patience)

/// The main function of a test executable: sandboxed folders, the real application object, and
/// the cases of `TestClass`.
#define VELLUMCAP_TEST_MAIN(TestClass)                                                             \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        const support::Sandbox sandbox;                                                            \
        platform::Application application(argc, argv);                                             \
        TestClass cases;                                                                           \
        return QTest::qExec(&cases, argc, argv);                                                   \
    }
