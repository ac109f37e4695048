#include "app/Resources.h"
#include "app/VellumcapAppDelegate.h"
#include "platform/instance/SingleInstance.h"
#include "platform/script/ScriptThreads.h"
#include "platform/ui/Appearance.h"
#include "platform/ui/Application.h"
#include "watch/ScriptWatchCommand.h"

#include <QIcon>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

int main(int argc, char** argv)
{
    platform::Application application(argc, argv);
    vellumcap::loadResources();
    vellumcap::VellumcapAppDelegate delegate;
    const auto instance = platform::SingleInstance::claim({
        .reopen = [&delegate] { delegate.applicationShouldHandleReopen(); },
        .performAction = [&delegate](const QString& name) { delegate.performAction(name); },
        .watch =
            [](const QVariantMap& arguments) {
                vellumcap::ScriptWatchCommand(arguments).performDefaultImplementation();
            },
    });
    if (instance == nullptr) {
        return 0;
    }
    QApplication::setWindowIcon(QIcon(u":/icons/vellumcap.svg"_s));
    const platform::Appearance appearance;
    application.setDelegate(&delegate);
    const auto scriptsFinished = qScopeGuard([] { platform::finishScripts(); });
    return application.run();
}
