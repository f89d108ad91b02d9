#pragma once

#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

class QQmlEngine;
#include <QQuickWindow>

// The tray icon and the small panel it toggles.
class MenuBarExtra : public QObject
{
    Q_OBJECT

public:
    static constexpr int panelWidth = 280;

    explicit MenuBarExtra(QQmlEngine &engine, QObject *parent = nullptr);
    ~MenuBarExtra() override;

    // Shows the tray icon; the panel is built on first use.
    void create();
    // The panel, built now if it was not yet; null if it cannot be.
    QQuickWindow *panel();
    void togglePanel();

    // Where the panel goes: under (or over) the icon, inside the screen; at the
    // cursor when the tray does not tell where its icon is.
    static QPoint panelPosition(const QRect &iconGeometry, const QSize &panelSize,
                                const QRect &available, const QPoint &cursor);

private:
    QQmlEngine &m_engine;
    QSystemTrayIcon m_tray;
    QPointer<QQuickWindow> m_panel;
};
