#include "MenuBarModel.h"

#include "IdeaActions.h"
#include "IdeaStore.h"
#include "Vocabulary.h"

#include <QRegularExpression>

MenuBarModel::MenuBarModel(QObject *parent) : MenuBarModel(IdeaStore::shared(), {}, parent)
{
}

MenuBarModel::MenuBarModel(IdeaStore *store, Delay delay, QObject *parent)
    : QObject(parent),
      m_store(store),
      m_delay(std::move(delay)),
      m_selectedCategory(Vocabulary::defaultCategory())
{
    if (!m_delay)
        m_delay = timerDelay(this);
    // Three rows read again on each change, rather than a copy of every active idea
    // kept in memory from start-up for the sake of three.
    if (m_store) {
        connect(m_store, &IdeaStore::inserted, this, &MenuBarModel::updateRecentIdeas);
        connect(m_store, &IdeaStore::updated, this, &MenuBarModel::updateRecentIdeas);
        connect(m_store, &IdeaStore::removed, this, &MenuBarModel::updateRecentIdeas);
    }
    updateRecentIdeas();
}

void MenuBarModel::setNewIdeaText(const QString &text)
{
    if (text == m_newIdeaText)
        return;
    m_newIdeaText = text;
    emit newIdeaTextChanged();
}

void MenuBarModel::setSelectedCategory(const QString &category)
{
    if (category == m_selectedCategory)
        return;
    m_selectedCategory = category;
    emit selectedCategoryChanged();
}

QStringList MenuBarModel::categories()
{
    return Vocabulary::categories();
}

void MenuBarModel::save()
{
    const QString title = Idea::trimmedTitle(m_newIdeaText);
    if (title.isEmpty())
        return;
    Idea idea = Idea::make(title, QString(), m_selectedCategory, false, std::nullopt, false);
    if (!IdeaActions(m_store, nullptr).add(idea)) {
        // What was typed stays, so the next try needs no retyping.
        setSaveError(IdeaStore::writeFailureMessage());
        return;
    }
    setSaveError({});
    // The category stays: quick captures tend to come in runs of one kind.
    setNewIdeaText({});
    setSaved(true);
    // Never cancelled: a later save does not extend the confirmation.
    m_delay(savedMs, [this] { setSaved(false); });
}

void MenuBarModel::setSaved(bool saved)
{
    if (saved == m_saved)
        return;
    m_saved = saved;
    emit savedChanged();
}

void MenuBarModel::setSaveError(const QString &message)
{
    if (message == m_saveError)
        return;
    m_saveError = message;
    emit saveErrorChanged();
}

// What one elided line of the panel can show: the first line with any text, since a
// label measures all of its text, however little of it fits.
QString MenuBarModel::headline(const QString &title)
{
    constexpr qsizetype longest = 120;
    static const QRegularExpression breaks(QStringLiteral("[\\r\\n\\x{2028}\\x{2029}]"));
    QString line;
    for (const QString &candidate : title.split(breaks)) {
        if (!candidate.trimmed().isEmpty()) {
            line = candidate;
            break;
        }
    }
    if (line.size() > longest)
        line.truncate(line.at(longest - 1).isHighSurrogate() ? longest - 1 : longest);
    return line;
}

void MenuBarModel::updateRecentIdeas()
{
    QVariantList recent;
    const QList<Idea> newest = m_store ? m_store->newestActiveIdeas(recentCount) : QList<Idea>();
    for (const Idea &idea : newest) {
        recent << QVariantMap{{"recordId", idea.recordId()}, {"ideaId", idea.idText()}, {"title", headline(idea.title)}};
    }
    if (recent == m_recentIdeas)
        return;
    m_recentIdeas = recent;
    emit recentIdeasChanged();
}
