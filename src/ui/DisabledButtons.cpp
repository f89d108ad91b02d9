#include "DisabledButtons.h"

#include <QAccessible>
#include <QPointer>
#include <QQuickItem>

namespace {

// Qt Quick's own interface for the button, with only its state corrected.
class ButtonInterface : public QAccessibleInterface
{
public:
    ButtonInterface(QQuickItem *item, QAccessibleInterface *quick) : m_item(item), m_quick(quick) {}
    // Goes with its button, and takes Qt Quick's interface along.
    ~ButtonInterface() override { QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(m_quick)); }

    bool isValid() const override { return m_item && m_quick->isValid(); }
    QObject *object() const override { return m_quick->object(); }
    QWindow *window() const override { return m_quick->window(); }
    QList<QPair<QAccessibleInterface *, QAccessible::Relation>>
    relations(QAccessible::Relation match) const override { return m_quick->relations(match); }
    QAccessibleInterface *focusChild() const override { return m_quick->focusChild(); }
    QAccessibleInterface *childAt(int x, int y) const override { return m_quick->childAt(x, y); }
    QAccessibleInterface *parent() const override { return m_quick->parent(); }
    QAccessibleInterface *child(int index) const override { return m_quick->child(index); }
    int childCount() const override { return m_quick->childCount(); }
    int indexOfChild(const QAccessibleInterface *child) const override { return m_quick->indexOfChild(child); }
    QString text(QAccessible::Text t) const override { return m_quick->text(t); }
    void setText(QAccessible::Text t, const QString &text) override { m_quick->setText(t, text); }
    QRect rect() const override { return m_quick->rect(); }
    QAccessible::Role role() const override { return m_quick->role(); }
    void *interface_cast(QAccessible::InterfaceType type) override { return m_quick->interface_cast(type); }

    QAccessible::State state() const override
    {
        QAccessible::State state = m_quick->state();
        if (m_item && !m_item->isEnabled()) {
            state.disabled = true;
            state.focusable = false;
        }
        return state;
    }

private:
    QPointer<QQuickItem> m_item;
    QAccessibleInterface *m_quick; // in Qt's cache, as every interface is; this one deletes it
};

QAccessibleInterface *buttons(const QString &, QObject *object)
{
    auto *item = qobject_cast<QQuickItem *>(object);
    if (!item || !object->inherits("QQuickAbstractButton"))
        return nullptr;
    // Factories are asked newest first: stepping aside for a moment lets Qt Quick make
    // the interface this one wraps.
    QAccessible::removeFactory(&buttons);
    QAccessibleInterface *quick = QAccessible::queryAccessibleInterface(object);
    QAccessible::installFactory(&buttons);
    return quick ? new ButtonInterface(item, quick) : nullptr;
}

} // namespace

void DisabledButtons::install()
{
    QAccessible::installFactory(&buttons);
}
