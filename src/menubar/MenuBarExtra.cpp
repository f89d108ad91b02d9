#include "MenuBarExtra.h"

#include "AppWindow.h"
#include "LatencyTrace.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>

MenuBarExtra::MenuBarExtra(QQmlEngine &engine, QObject *parent) : QObject(parent), m_engine(engine)
{
}

MenuBarExtra::~MenuBarExtra()
{
    delete m_panel;
}

void MenuBarExtra::create()
{
    // The application's icon, drawn once at start from the same symbol.
    m_tray.setIcon(QGuiApplication::windowIcon());
    m_tray.setToolTip(QStringLiteral("الفكرون"));
    connect(&m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
            LatencyTrace::instance().begin(QStringLiteral("panel"));
            togglePanel();
        }
    });
    m_tray.show();
}

QQuickWindow *MenuBarExtra::panel()
{
    return AppWindow::ensure(m_engine, QUrl(QStringLiteral("qrc:/Fikranest/PanelWindow.qml")), m_panel,
                             [this](QQuickWindow &panel) {
                                 // Like a popover: clicking elsewhere puts it away.
                                 connect(&panel, &QWindow::activeChanged, this, [&panel] {
                                     if (!panel.isActive() && panel.isVisible())
                                         panel.hide();
                                 });
                             });
}

void MenuBarExtra::togglePanel()
{
    if (!panel())
        return;
    if (m_panel->isVisible()) {
        m_panel->hide();
        return;
    }
    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QSize size(panelWidth, qMax(1, m_panel->height()));
    m_panel->setPosition(panelPosition(m_tray.geometry(), size, screen->availableGeometry(), QCursor::pos()));
    AppWindow::present(*m_panel);
}

QPoint MenuBarExtra::panelPosition(const QRect &iconGeometry, const QSize &panelSize, const QRect &available,
                                   const QPoint &cursor)
{
    QPoint at;
    if (iconGeometry.isValid() && !iconGeometry.isEmpty()) {
        at.setX(iconGeometry.center().x() - panelSize.width() / 2);
        const bool iconAtTop = iconGeometry.center().y() < available.center().y();
        at.setY(iconAtTop ? iconGeometry.bottom() + 1 : iconGeometry.top() - panelSize.height());
    } else {
        at = QPoint(cursor.x() - panelSize.width() / 2, cursor.y());
    }
    at.setX(qBound(available.left(), at.x(), qMax(available.left(), available.right() - panelSize.width() + 1)));
    at.setY(qBound(available.top(), at.y(), qMax(available.top(), available.bottom() - panelSize.height() + 1)));
    return at;
}
