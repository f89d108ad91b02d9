#pragma once

#include "Delay.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class IdeaStore;

// The state and rules of the tray panel: quick capture with its short-lived
// confirmation, and the newest active ideas. The panel only draws them.
class MenuBarModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString newIdeaText READ newIdeaText WRITE setNewIdeaText NOTIFY newIdeaTextChanged)
    Q_PROPERTY(QString selectedCategory READ selectedCategory WRITE setSelectedCategory NOTIFY selectedCategoryChanged)
    Q_PROPERTY(QStringList categories READ categories CONSTANT)
    Q_PROPERTY(bool saved READ saved NOTIFY savedChanged)
    Q_PROPERTY(QString saveError READ saveError NOTIFY saveErrorChanged)
    Q_PROPERTY(QVariantList recentIdeas READ recentIdeas NOTIFY recentIdeasChanged)

public:
    static constexpr int savedMs = 1'500;
    static constexpr int recentCount = 3;

    // Over the program's store, with real timers.
    explicit MenuBarModel(QObject *parent = nullptr);
    MenuBarModel(IdeaStore *store, Delay delay, QObject *parent = nullptr);

    QString newIdeaText() const { return m_newIdeaText; }
    void setNewIdeaText(const QString &text);
    QString selectedCategory() const { return m_selectedCategory; }
    void setSelectedCategory(const QString &category);
    static QStringList categories();
    // The first line of a title, cut to what a one-line label can show.
    static QString headline(const QString &title);
    bool saved() const { return m_saved; }
    QString saveError() const { return m_saveError; }
    // Up to three of {recordId, ideaId, title}, newest first.
    QVariantList recentIdeas() const { return m_recentIdeas; }

    // Stores the trimmed text under the chosen category; a blank text does nothing.
    Q_INVOKABLE void save();

signals:
    void newIdeaTextChanged();
    void selectedCategoryChanged();
    void savedChanged();
    void saveErrorChanged();
    void recentIdeasChanged();

private:
    void setSaved(bool saved);
    void setSaveError(const QString &message);
    void updateRecentIdeas();

    QPointer<IdeaStore> m_store;
    Delay m_delay;
    QString m_newIdeaText;
    QString m_selectedCategory;
    bool m_saved = false;
    QString m_saveError;
    QVariantList m_recentIdeas;
};
