#pragma once

#include "platform/ui/Application.h"
#include "tests/support/Sandbox.h"

#include <QTest>

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
