#include "LatencyTrace.h"

#include "QmlSingleton.h"

#include <QQuickWindow>

#include <cstdio>

LatencyTrace::LatencyTrace() : m_enabled(qEnvironmentVariableIsSet("FIKRANEST_LATENCY_TRACE")) {}

LatencyTrace &LatencyTrace::instance()
{
    static LatencyTrace trace;
    return trace;
}

LatencyTrace *LatencyTrace::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}

void LatencyTrace::begin(const QString &name)
{
    if (m_enabled)
        m_started[name].start();
}

void LatencyTrace::end(const QString &name, QQuickWindow *window)
{
    if (!m_enabled || !window || !m_started.contains(name))
        return;
    const QElapsedTimer started = m_started.take(name);
    auto *connection = new QMetaObject::Connection;
    *connection = connect(window, &QQuickWindow::frameSwapped, this, [name, started, connection] {
        QObject::disconnect(*connection);
        delete connection;
        std::fprintf(stderr, "latency %s %.1f\n", qPrintable(name), double(started.nsecsElapsed()) / 1e6);
        std::fflush(stderr);
    });
    window->update();
}
