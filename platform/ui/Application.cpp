#include "platform/ui/Application.h"

#include "platform/services/Dispatch.h"
#include "platform/ui/Accessibility.h"
#include "platform/ui/Alert.h"
#include "platform/ui/TerminationSignals.h"

#include <QEvent>
#include <QScopeGuard>
#include <QSessionManager>

using namespace Qt::StringLiterals;

namespace platform {

Application::Application(int& argc, char** argv)
    : QApplication(argc, argv)
{
    setApplicationName(u"Vellumcap"_s);
    setApplicationDisplayName(u"Vellumcap"_s);
    setApplicationVersion(QStringLiteral(VELLUMCAP_VERSION));
    setDesktopFileName(u"org.vellumcap.Vellumcap"_s);
    setQuitOnLastWindowClosed(false);
    installAccessibility();
    connect(
        this, &QGuiApplication::commitDataRequest, this,
        [this](QSessionManager& session) {
            if (askDelegate() == TerminateReply::Cancel) {
                session.cancel();
            }
        },
        Qt::DirectConnection);
}

Application::~Application()
{
    m_delegate = nullptr;
    finishGlobalQueues();
    sendPostedEvents();
    sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

Application& Application::shared()
{
    return *static_cast<Application*>(qApp);
}

int Application::run()
{
    const TerminationSignals signalsToQuit([this] { terminate(); });
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_delegate != nullptr) {
                m_delegate->applicationDidFinishLaunching();
            }
        },
        Qt::QueuedConnection);
    return exec();
}

bool Application::presentError(const Error& error)
{
    const Alert alert{
        .messageText = error.localizedDescription,
        .informativeText = error.failureReason,
        .buttons = { tr("OK") },
    };
    alert.runModal(activeWindow());
    return false;
}

void Application::terminate()
{
    if (askDelegate() == TerminateReply::Now) {
        exit(0);
    }
}

bool Application::event(QEvent* event)
{
    // Qt would close all windows and quit without asking the delegate.
    if (event->type() == QEvent::Quit) {
        terminate();
        return true;
    }
    return QApplication::event(event);
}

TerminateReply Application::askDelegate()
{
    if (m_asking) {
        return TerminateReply::Cancel;
    }
    if (m_delegate == nullptr) {
        return TerminateReply::Now;
    }
    m_asking = true;
    const auto asked = qScopeGuard([this] { m_asking = false; });
    return m_delegate->applicationShouldTerminate(*this);
}

} // namespace platform
