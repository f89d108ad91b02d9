#include "AppWindow.h"

#include <QQmlComponent>
#include <QQmlEngine>

#include <utility>

namespace {

QString handedToken;

} // namespace

QQuickWindow *AppWindow::ensure(QQmlEngine &engine, const QUrl &url, QPointer<QQuickWindow> &window,
                                const std::function<void(QQuickWindow &)> &setUp)
{
    if (window)
        return window;
    QQmlComponent component(&engine, url);
    QObject *built = component.create();
    window = qobject_cast<QQuickWindow *>(built);
    if (!window) {
        qWarning("%s", qPrintable(component.isError() ? component.errorString()
                                                      : url.toString() + QStringLiteral(" is not a window")));
        delete built;
    } else if (setUp) {
        setUp(*window);
    }
    return window;
}

void AppWindow::present(QQuickWindow &window)
{
    if (window.windowStates() & Qt::WindowMinimized)
        window.showNormal();
    else
        window.show();
    window.raise();
    const QString token = std::exchange(handedToken, QString());
    if (token.isEmpty()) {
        window.requestActivate();
        return;
    }
    // Qt's Wayland plugin reads the token from the environment when asked to activate;
    // it is ours only for this once.
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    window.requestActivate();
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

void AppWindow::handActivationToken(const QString &token)
{
    handedToken = token;
}
