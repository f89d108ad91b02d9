#pragma once

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <memory>

class QJSEngine;
class QNetworkAccessManager;
class QNetworkReply;
class QQmlEngine;

// Fetches and installs the Arabic speech model, on the person's tap only: downloaded
// beside the speech folder, resumed where it stopped after a cut or a restart, checked,
// unpacked into a private folder of its own, checked again, and moved into the speech
// folder in one rename, so the recogniser never sees half a model.
class SpeechModelInstaller : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool ready READ ready NOTIFY changed)
    Q_PROPERTY(bool downloading READ downloading NOTIFY changed)
    Q_PROPERTY(bool unpacking READ unpacking NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString progressText READ progressText NOTIFY progressChanged)
    Q_PROPERTY(QString timeLeftText READ timeLeftText NOTIFY progressChanged)
    Q_PROPERTY(QString offerText READ offerText CONSTANT)
    Q_PROPERTY(QString failure READ failure NOTIFY changed)

public:
    enum class State { absent, downloading, unpacking, ready };

    // Where the model comes from: the build's choice, or a test's in test builds.
    struct Source
    {
        QUrl url;
        qint64 size = 0;    // as the models page gives it: for the offer and the disk check
        QByteArray sha256;  // hex; when set, the download must match it
    };

    static SpeechModelInstaller &instance();
    static SpeechModelInstaller *create(QQmlEngine *, QJSEngine *);
    ~SpeechModelInstaller() override;

    State state() const { return m_state; }
    bool ready() const { return m_state == State::ready; }
    bool downloading() const { return m_state == State::downloading; }
    bool unpacking() const { return m_state == State::unpacking; }
    double progress() const;
    QString progressText() const;
    QString timeLeftText() const;
    QString offerText() const;
    QString failure() const { return m_failure; }

    Q_INVOKABLE void download();
    Q_INVOKABLE void cancel();
    // Looks again for an installed model, as one may be put there by hand.
    Q_INVOKABLE void refresh();

    static QString noSpaceText();
    static QString cutText();
    static QString brokenText();

signals:
    void changed();
    void progressChanged();

private:
    explicit SpeechModelInstaller(Source source, QObject *parent = nullptr);

    void received();
    void finished();
    void fail(const QString &text, bool keepPart);
    void install();
    void installed(int outcome, const QString &model);
    void setState(State state);

    Source m_source;
    QString m_folder;   // the data folder the speech folder sits in
    QString m_partPath; // the download, until it is unpacked
    State m_state = State::absent;
    QString m_failure;
    QNetworkAccessManager *m_network = nullptr;
    QPointer<QNetworkReply> m_reply;
    QFile m_part;
    qint64 m_total = 0;    // the whole file's length, as the server gives it
    qint64 m_received = 0; // of it, on disk
    qint64 m_resumedAt = 0;
    QElapsedTimer m_clock;
};
