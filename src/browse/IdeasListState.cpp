#include "IdeasListState.h"

#include "AppClock.h"
#include "AppEvents.h"
#include "IdeaActions.h"
#include "IdeaFeedModel.h"
#include "IdeaListModel.h"
#include "NotificationCenter.h"
#include "Vocabulary.h"


IdeasListState::IdeasListState(QObject *parent)
    : IdeasListState(IdeaStore::shared(), NotificationCenter::shared(), {}, SecureRandom::systemWord, parent)
{
}

IdeasListState::IdeasListState(IdeaStore *store, NotificationCenter *notifications, Delay delay,
                               SecureRandom::Source random, QObject *parent)
    : QObject(parent),
      m_delay(std::move(delay)),
      m_random(std::move(random)),
      m_actions(new IdeaActions(store, notifications, this)),
      m_active(new IdeaListModel(store, IdeaListModel::Scope::active, this)),
      m_done(new IdeaListModel(store, IdeaListModel::Scope::done, this)),
      m_rows(new IdeaFeedModel(m_active, m_done, this))
{
    if (!m_delay)
        m_delay = timerDelay(this);
    m_active->setFilter(Vocabulary::allFilter());
    connect(m_active, &IdeaListModel::filterChanged, this, &IdeasListState::selectedCategoryChanged);
    connect(m_rows, &IdeaFeedModel::expandedChanged, this, &IdeasListState::showDoneSectionChanged);
    // Completions made anywhere in the program are congratulated here.
    connect(&AppEvents::instance(), &AppEvents::ideaMarkedDone, this, &IdeasListState::showToast);
    updateGreeting();
}

QString IdeasListState::greeting(int hour)
{
    if (hour >= 5 && hour <= 11)
        return QStringLiteral("صباح الخير");
    if (hour >= 12 && hour <= 16)
        return QStringLiteral("مساء النور");
    if (hour >= 17 && hour <= 20)
        return QStringLiteral("مساء الخير");
    return QStringLiteral("يا هلا بالسهران");
}

const QStringList &IdeasListState::funnyTexts()
{
    static const QStringList texts = {
        QStringLiteral("كب اللي في بالك 🗑️"),
        QStringLiteral("فكرة؟ كبها هنا!"),
        QStringLiteral("لا تخلي الفكرة تطير ✈️"),
        QStringLiteral("اكتب قبل لا تنسى 🧠"),
        QStringLiteral("مخك مليان؟ فرّغه هنا"),
        QStringLiteral("كب ولا تستحي 😄"),
        QStringLiteral("فكرة عبقرية؟ احفظها!"),
        QStringLiteral("لا تأجل.. اكتبها الحين!"),
        QStringLiteral("مكان آمن لأفكارك 🔒"),
        QStringLiteral("كب كب كب! 🗑️"),
        QStringLiteral("فضفض لنا بأفكارك"),
        QStringLiteral("اكتب اللي في خاطرك ✍️"),
        QStringLiteral("حطها هنا قبل لا تضيع"),
        QStringLiteral("فكرة اليوم 💡"),
        QStringLiteral("وش تنتظر؟ اكتب!"),
        QStringLiteral("الفكرون جاهزة لك"),
        QStringLiteral("ارمي أفكارك هنا 🎯"),
        QStringLiteral("الأفكار ما تنتظر أحد"),
        QStringLiteral("دماغك يستاهل راحة 🧘"),
        QStringLiteral("سجّل الحين واشكرني بعدين"),
    };
    return texts;
}

const QStringList &IdeasListState::congratulations()
{
    static const QStringList texts = {
        QStringLiteral("يا بطل! خلصت فكرة 🎉"),
        QStringLiteral("ماشاء الله عليك! فخورين فيك 💪"),
        QStringLiteral("واحدة راحت.. يلا الباقي! 🚀"),
        QStringLiteral("كذا نبيك! منجز ما يوقفه شي 🔥"),
        QStringLiteral("تمام التمام! وش بعد؟ 😎"),
        QStringLiteral("الله الله! كملت وحدة 👏"),
        QStringLiteral("أنت وحش إنجاز! 🏆"),
        QStringLiteral("شطارة! الحين ارتاح شوي ☕"),
        QStringLiteral("خلصتها؟ يستاهل تصفيق 👏👏"),
        QStringLiteral("إنجاز جديد! كمّل على هالمستوى 📈"),
    };
    return texts;
}

QStringList IdeasListState::shuffled(QStringList texts, const SecureRandom::Source &random)
{
    // Fisher-Yates over unbiased draws.
    for (qsizetype i = texts.size() - 1; i > 0; --i)
        texts.swapItemsAt(i, SecureRandom::uniform(quint32(i + 1), random));
    return texts;
}

QStringList IdeasListState::categories()
{
    return Vocabulary::filterLabels();
}

QString IdeasListState::selectedCategory() const
{
    return m_active->filter();
}

void IdeasListState::setSelectedCategory(const QString &category)
{
    m_active->setFilter(category);
}

bool IdeasListState::showDoneSection() const
{
    return m_rows->expanded();
}

void IdeasListState::setShowDoneSection(bool show)
{
    m_rows->setExpanded(show);
}

void IdeasListState::appear()
{
    m_fabQueue = shuffled(funnyTexts(), m_random);
    m_fabIndex = 0;
    stepCaption();
}

void IdeasListState::stepCaption()
{
    if (m_fabIndex >= m_fabQueue.size()) {
        m_fabQueue = shuffled(funnyTexts(), m_random);
        m_fabIndex = 0;
    }
    m_fabText = m_fabQueue.at(m_fabIndex++);
    emit fabTextChanged();
    // The greeting follows the hour; checking it with every caption is plenty.
    updateGreeting();
    m_delay(captionMs, [this] { stepCaption(); });
}

void IdeasListState::showToast()
{
    const QStringList &texts = congratulations();
    m_doneToastMessage = texts.at(SecureRandom::uniform(quint32(texts.size()), m_random));
    m_showDoneToast = true;
    emit showDoneToastChanged();
    // An earlier hide is not cancelled: it may hide this newer toast early.
    m_delay(toastMs, [this] {
        m_showDoneToast = false;
        emit showDoneToastChanged();
    });
}

void IdeasListState::updateGreeting()
{
    const QString text = greeting(AppClock::now().toTimeZone(AppClock::timeZone()).time().hour());
    if (text == m_greeting)
        return;
    m_greeting = text;
    emit greetingChanged();
}

void IdeasListState::report(const QString &message)
{
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
    if (!message.isEmpty()) {
        m_delay(errorMs, [this, message] {
            if (m_errorMessage == message)
                report({});
        });
    }
}

void IdeasListState::markDone(qint64 recordId, const QString &id)
{
    report(m_actions->markDone(recordId, id));
}

void IdeasListState::returnToActive(qint64 recordId, const QString &id)
{
    report(m_actions->returnToActive(recordId, id));
}

void IdeasListState::remove(qint64 recordId, const QString &id)
{
    report(m_actions->remove(recordId, id));
}
