#include "platform/services/Workspace.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QUrl>

#include <gio/gio.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace platform::Workspace {
namespace {

struct Unreference {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename Object> using Reference = std::unique_ptr<Object, Unreference>;

Reference<GAppInfo> handlerOf(const QByteArray& url)
{
    const Reference<GFile> file(g_file_new_for_uri(url.constData()));
    return Reference<GAppInfo>(g_file_query_default_handler(file.get(), nullptr, nullptr));
}

/// The handler must not inherit this program's activation. In the background it gets one that does
/// not raise it.
Reference<GAppLaunchContext> launchContext(Activation activation)
{
    Reference<GAppLaunchContext> context(g_app_launch_context_new());
    g_app_launch_context_unsetenv(context.get(), "XDG_ACTIVATION_TOKEN");
    g_app_launch_context_unsetenv(context.get(), "DESKTOP_STARTUP_ID");
    if (activation == Activation::Background && QGuiApplication::platformName() == u"xcb"_s) {
        // By the startup notification protocol, a window of time 0 does not take the focus.
        g_app_launch_context_setenv(context.get(), "DESKTOP_STARTUP_ID", "vellumcap-0_TIME0");
    }
    return context;
}

/// Only Qt can get an activation token for one of our windows from a Wayland compositor. It passes
/// the URL to xdg-open as one argument: an encoded URL has no space and no quote.
bool needsToken(Activation activation)
{
    return activation == Activation::Foreground
        && QGuiApplication::platformName().startsWith(u"wayland"_s)
        && !QStandardPaths::findExecutable(u"xdg-open"_s).isEmpty();
}

/// Whether `url` is a scheme, ":" and printable ASCII, which no handler takes for an option or a
/// path.
bool hasSchemeAndNoSpace(const QString& url)
{
    static const QRegularExpression pattern(u"\\A[A-Za-z][A-Za-z0-9+.-]*:[!-~]*\\z"_s);
    return pattern.match(url).hasMatch();
}

/// A URL that QUrl would change gets no activation token, so that its handler gets it unchanged.
bool launch(const QByteArray& url, Activation activation)
{
    const QUrl parsed = QUrl::fromEncoded(url, QUrl::StrictMode);
    if (needsToken(activation) && parsed.toEncoded() == url && handlerOf(url)) {
        return QDesktopServices::openUrl(parsed);
    }
    const auto context = launchContext(activation);
    return g_app_info_launch_default_for_uri(url.constData(), context.get(), nullptr) != 0;
}

} // namespace

bool open(const QString& url, Activation activation)
{
    const bool isLocalFile = url.startsWith(u"file:"_s, Qt::CaseInsensitive);
    return hasSchemeAndNoSpace(url) && !isLocalFile && launch(url.toLatin1(), activation);
}

bool showFolder(const QString& path)
{
    return QFileInfo(path).isDir()
        && launch(QUrl::fromLocalFile(path).toEncoded(), Activation::Foreground);
}

} // namespace platform::Workspace
