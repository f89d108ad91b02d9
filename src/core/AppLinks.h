#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <functional>

// The links fixed at build time, and the one way to open them, which tests can
// swap so that nothing starts a browser.
class AppLinks : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QUrl supportUrl READ supportUrl CONSTANT)
    Q_PROPERTY(QUrl makerUrl READ makerUrl CONSTANT)
    Q_PROPERTY(QString makerLabel READ makerLabel CONSTANT)

public:
    using Opener = std::function<bool(const QUrl &)>;

    using QObject::QObject;

    static QUrl supportUrl();
    static QUrl makerUrl();
    // The maker's host, short enough for a link label.
    static QString makerLabel();

    // A link that cannot be opened is let go without a word.
    Q_INVOKABLE static void open(const QUrl &url);
    // An empty opener goes back to the desktop's own.
    static void setOpener(Opener opener);
};
