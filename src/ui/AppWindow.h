#pragma once

#include <QPointer>
#include <QQuickWindow>
#include <QUrl>

#include <functional>

class QQmlEngine;

// How the program's windows (the main one, the tray panel, the updates window) come
// to be: each is built once from its QML and brought forward on every request after.
namespace AppWindow {

// The window `window` holds, built from `url` now if it holds none, and then handed to
// `setUp` once. Null, with the reason on stderr, when the QML cannot be built into a window.
QQuickWindow *ensure(QQmlEngine &engine, const QUrl &url, QPointer<QQuickWindow> &window,
                     const std::function<void(QQuickWindow &)> &setUp = {});

// Shows it (restored, if it was minimised), raised and taking the keyboard.
void present(QQuickWindow &window);

// The xdg-activation token a launcher or notification server handed over with a request
// to come forward; the next present() spends it. A Wayland compositor gives the keyboard
// to a window of a program that is not in front only with one.
void handActivationToken(const QString &token);

} // namespace AppWindow
