#include "tests/support/TestMain.h"

#include <cstdio>
#include <map>
#include <string>

namespace {

using Tests = std::map<std::string, support::RegisteredTest::Run>;

Tests& tests()
{
    static Tests all;
    return all;
}

QString& runningTest()
{
    static QString name;
    return name;
}

} // namespace

support::RegisteredTest::RegisteredTest(const char* sourceName, Run run)
{
    const std::string name(sourceName);
    tests().emplace(name.substr(0, name.rfind('.')), run);
}

QStringList support::argumentsForCases(const QStringList& cases)
{
    return QStringList(runningTest()) + cases;
}

int main(int argc, char** argv)
{
    const auto found = argc > 1 ? tests().find(argv[1]) : tests().end();
    if (found == tests().end()) {
        std::fprintf(stderr, "Usage: %s TEST [ARGUMENT...], where TEST is one of:\n", argv[0]);
        for (const auto& [name, run] : tests()) {
            std::fprintf(stderr, "  %s\n", name.c_str());
        }
        return 2;
    }
    runningTest() = QString::fromLatin1(argv[1]);
    argv[1] = argv[0];
    return found->second(argc - 1, argv + 1);
}
