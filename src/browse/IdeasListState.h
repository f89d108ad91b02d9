#pragma once

#include "Delay.h"
#include "SecureRandom.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class IdeaActions;
class IdeaFeedModel;
class IdeaListModel;
class IdeaStore;
class NotificationCenter;

// The state of the ideas list for as long as the screen exists: the filter, the
// done section, the add button's rotating caption and the congratulation toast.
class IdeasListState : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(IdeaListModel *activeIdeas READ activeIdeas CONSTANT)
    Q_PROPERTY(IdeaListModel *doneIdeas READ doneIdeas CONSTANT)
    Q_PROPERTY(IdeaFeedModel *rows READ rows CONSTANT)
    Q_PROPERTY(QStringList categories READ categories CONSTANT)
    Q_PROPERTY(QString selectedCategory READ selectedCategory WRITE setSelectedCategory NOTIFY selectedCategoryChanged)
    Q_PROPERTY(bool showDoneSection READ showDoneSection WRITE setShowDoneSection NOTIFY showDoneSectionChanged)
    Q_PROPERTY(QString greeting READ greeting NOTIFY greetingChanged)
    Q_PROPERTY(QString fabText READ fabText NOTIFY fabTextChanged)
    Q_PROPERTY(bool showDoneToast READ showDoneToast NOTIFY showDoneToastChanged)
    Q_PROPERTY(QString doneToastMessage READ doneToastMessage NOTIFY showDoneToastChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    static constexpr int captionMs = 10'000;
    static constexpr int toastMs = 2'500;
    static constexpr int errorMs = 5'000;

    // Over the program's store and notification centre, with real timers.
    explicit IdeasListState(QObject *parent = nullptr);
    IdeasListState(IdeaStore *store, NotificationCenter *notifications, Delay delay,
                   SecureRandom::Source random, QObject *parent = nullptr);

    static QString greeting(int hour);
    static const QStringList &funnyTexts();
    static const QStringList &congratulations();
    static QStringList shuffled(QStringList texts, const SecureRandom::Source &random);

    IdeaListModel *activeIdeas() const { return m_active; }
    IdeaListModel *doneIdeas() const { return m_done; }
    IdeaFeedModel *rows() const { return m_rows; }
    static QStringList categories();
    QString selectedCategory() const;
    void setSelectedCategory(const QString &category);
    bool showDoneSection() const;
    void setShowDoneSection(bool show);
    QString greeting() const { return m_greeting; }
    QString fabText() const { return m_fabText; }
    bool showDoneToast() const { return m_showDoneToast; }
    QString doneToastMessage() const { return m_doneToastMessage; }
    QString errorMessage() const { return m_errorMessage; }

    // Each appearance starts the captions over from a fresh order, and a chain of
    // its own that nothing cancels.
    Q_INVOKABLE void appear();
    Q_INVOKABLE void markDone(qint64 recordId, const QString &id);
    Q_INVOKABLE void returnToActive(qint64 recordId, const QString &id);
    Q_INVOKABLE void remove(qint64 recordId, const QString &id);

signals:
    void selectedCategoryChanged();
    void showDoneSectionChanged();
    void greetingChanged();
    void fabTextChanged();
    void showDoneToastChanged();
    void errorMessageChanged();

private:
    void stepCaption();
    void showToast();
    void updateGreeting();
    void report(const QString &message);

    Delay m_delay;
    SecureRandom::Source m_random;
    IdeaActions *m_actions;
    IdeaListModel *m_active;
    IdeaListModel *m_done;
    IdeaFeedModel *m_rows;
    QString m_greeting;
    QString m_fabText;
    QStringList m_fabQueue;
    qsizetype m_fabIndex = 0;
    bool m_showDoneToast = false;
    QString m_doneToastMessage;
    QString m_errorMessage;
};
