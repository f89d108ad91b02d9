#include "QtAudioInput.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSource>
#include <QMediaDevices>

#include <array>

// Lives on the audio thread: owns the source and cuts what it reads into buffers.
class AudioCapture : public QObject
{
public:
    AudioInput::Tap tap;

    bool open(const QAudioDevice &device, AudioInput::Failure failure)
    {
        close();
        QAudioFormat format;
        format.setSampleRate(AudioInput::sampleRate);
        format.setChannelCount(1);
        format.setSampleFormat(QAudioFormat::Int16);
        m_source = new QAudioSource(device, format, this);
        // A few buffers of slack, so a late wake-up loses nothing.
        m_source->setBufferSize(8 * AudioInput::framesPerBuffer * int(sizeof(qint16)));
        m_device = m_source->start();
        if (!m_device || m_source->error() != QAudio::NoError) {
            close();
            return false;
        }
        m_filled = 0;
        connect(m_device, &QIODevice::readyRead, this, &AudioCapture::read);
        // Only the start's error is known by now; a device or server lost later stops
        // the source, and nothing else says so.
        connect(m_source, &QAudioSource::stateChanged, this, [this, failure = std::move(failure)](QAudio::State now) {
            if (!m_device || (now != QAudio::StoppedState && m_source->error() == QAudio::NoError))
                return;
            m_device = nullptr;
            if (failure)
                failure();
        });
        return true;
    }

    void close()
    {
        if (!m_source)
            return;
        // Stopped on purpose: no failure to tell.
        m_source->disconnect(this);
        m_source->stop();
        delete m_source;
        m_source = nullptr;
        m_device = nullptr;
    }

private:
    void read()
    {
        while (m_device) {
            char *into = reinterpret_cast<char *>(m_buffer.data()) + m_filled;
            const qint64 got = m_device->read(into, qint64(sizeof(m_buffer)) - m_filled);
            if (got <= 0)
                return;
            m_filled += got;
            if (m_filled == qint64(sizeof(m_buffer))) {
                if (tap)
                    tap(m_buffer);
                m_filled = 0;
            }
        }
    }

    QAudioSource *m_source = nullptr;
    QIODevice *m_device = nullptr;
    std::array<qint16, AudioInput::framesPerBuffer> m_buffer{};
    qint64 m_filled = 0;
};

QtAudioInput::QtAudioInput() : m_capture(new AudioCapture)
{
    m_thread.setObjectName(QStringLiteral("audio"));
    m_capture->moveToThread(&m_thread);
    // Closed and gone on its own thread as that ends, with no event to get through.
    QObject::connect(
        &m_thread, &QThread::finished, m_capture,
        [capture = m_capture] {
            capture->close();
            delete capture;
        },
        Qt::DirectConnection);
}

QtAudioInput::~QtAudioInput()
{
    if (!m_thread.isRunning()) {
        delete m_capture;
        return;
    }
    m_thread.quit();
    m_thread.wait();
}

void QtAudioInput::installTap(Tap tap)
{
    m_capture->tap = std::move(tap);
}

void QtAudioInput::removeTap()
{
    m_capture->tap = nullptr;
}

bool QtAudioInput::start()
{
    const QAudioDevice device = QMediaDevices::defaultAudioInput();
    if (device.isNull())
        return false;
    if (!m_thread.isRunning())
        m_thread.start(QThread::TimeCriticalPriority);
    bool opened = false;
    QMetaObject::invokeMethod(
        m_capture, [&] { opened = m_capture->open(device, failure()); }, Qt::BlockingQueuedConnection);
    return opened;
}

void QtAudioInput::stop()
{
    if (m_thread.isRunning())
        QMetaObject::invokeMethod(m_capture, [this] { m_capture->close(); }, Qt::BlockingQueuedConnection);
}

// What the program looks up after loading this library.
extern "C" Q_DECL_EXPORT AudioInput *fikranest_create_audio_input()
{
    return new QtAudioInput;
}
