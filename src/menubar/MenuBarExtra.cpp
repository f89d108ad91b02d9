#include "MenuBarExtra.h"

#include "AppWindow.h"
#include "LatencyTrace.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QtMath>

#include <limits>

namespace {

// Exactly as tall as its content, and of that one size, which Wayland compositors, tiling ones
// too, float rather than lay out. The limits open for a change they would otherwise hold back.
void fit(QQuickWindow &panel, const QQuickItem &body)
{
    const QSize size(MenuBarExtra::panelWidth, qMax(1, qCeil(body.implicitHeight())));
    if (panel.size() == size && panel.minimumSize() == size && panel.maximumSize() == size)
        return;
    panel.setMinimumSize(QSize(0, 0));
    // Bounded to QWindow's own "no limit".
    panel.setMaximumSize(QSize(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()));
    panel.resize(size);
    panel.setMinimumSize(size);
    panel.setMaximumSize(size);
}

} // namespace

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
                                 if (auto *body = panel.property("body").value<QQuickItem *>()) {
                                     fit(panel, *body);
                                     connect(body, &QQuickItem::implicitHeightChanged, this,
                                             [&panel, body] { fit(panel, *body); });
                                 }
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
    // Where the compositor lets the program place its windows: not on Wayland, where it
    // puts the panel itself.
    m_panel->setPosition(
        panelPosition(m_tray.geometry(), m_panel->size(), screen->availableGeometry(), QCursor::pos()));
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
