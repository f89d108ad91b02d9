#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;
class QQuickWindow;

// Opt-in timings of what a person waits for: with FIKRANEST_LATENCY_TRACE set, each
// span from a key press or click to the frame that shows its answer is written to
// standard error as "latency NAME MS". Otherwise every call returns at once.
class LatencyTrace : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    static LatencyTrace &instance();
    static LatencyTrace *create(QQmlEngine *, QJSEngine *);

    bool enabled() const { return m_enabled; }
    // The person acted now.
    Q_INVOKABLE void begin(const QString &name);
    // The answer is in place; the span ends when `window` next shows a frame.
    Q_INVOKABLE void end(const QString &name, QQuickWindow *window);

private:
    LatencyTrace();

    bool m_enabled;
    QHash<QString, QElapsedTimer> m_started;
};
