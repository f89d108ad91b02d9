#pragma once

#include <QDeadlineTimer>
#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class QSocketNotifier;

// One process per store: a later launch, from whatever session, hands its arguments to
// the running one over a Unix socket that only this user can reach.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // `refused`: the running instance got the arguments but could not carry them out.
    // `unanswered`: it did not answer in time (stopped, or stuck); they will not be carried out.
    enum class Role { primary, handedOver, refused, unanswered, failed };
    // The whole hand-over, connecting included, gives up after this long.
    static constexpr int handOverLimitMs = 5'000;
    // How the running instance answers a later launch: whether it carried the arguments
    // out, and a line for that launch to print. It may answer later, once the work is done.
    using Reply = std::function<void(bool done, const QString &line)>;
    // Carries out a later launch's arguments in the running instance, answering through `reply`.
    using Handler = std::function<void(const QStringList &arguments, const Reply &reply)>;

    // The lock, and the note of where the running instance listens, live in `storeFolder`
    // beside the store, so every launch on that store finds them. The socket lives in
    // `runtimeFolder` when that is this user's alone, else in a private one of their own.
    explicit SingleInstance(const QString &storeFolder, const QString &runtimeFolder = {}, QObject *parent = nullptr);
    // Removes the socket and its note, then lets go of the lock.
    ~SingleInstance() override;

    // With `serve` false the winner only holds the lock, as a launch that stores one
    // idea and exits does: later launches wait for it to finish rather than hand their
    // arguments to a process that will never read them.
    // `limitMs` bounds the whole hand-over, waiting for the answer included; the running
    // instance's line, if it sent one, comes back in `line`.
    Role claim(const QStringList &arguments, bool serve = true, int limitMs = handOverLimitMs,
               QString *line = nullptr);
    QString errorString() const { return m_error; }
    // Until one is set, later launches are told yes and their arguments dropped.
    void setHandler(Handler handler) { m_handler = std::move(handler); }

private:
    // `silent`: the arguments went out but no answer came, so they must not be sent again.
    // `stranger`: another user listens there; it is told nothing.
    enum class Answer { none, done, refused, silent, stranger };

    Answer handOver(const QStringList &arguments, const QDeadlineTimer &deadline, QString *line);
    bool listen();
    void forget();
    void accept();
    struct Caller;
    void hear(const std::shared_ptr<Caller> &caller);

    QString m_notePath;
    QString m_socketPath;
    QLockFile m_lock;
    // Connections whose message is not all in yet, oldest first.
    QList<std::weak_ptr<Caller>> m_unheard;
    int m_listener = -1;
    std::unique_ptr<QSocketNotifier> m_listening;
    QString m_error;
    Handler m_handler;
};
