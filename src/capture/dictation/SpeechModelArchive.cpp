#include "SpeechModelArchive.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Outcome = SpeechModelArchive::Outcome;

// A model has a few hundred files; anything near this is not one.
constexpr int maxEntries = 20'000;
constexpr size_t blockBytes = 64 * 1024;

// The entry's path as a list of plain names, or empty when it could leave the folder.
QStringList safeParts(archive_entry *entry)
{
    const char *utf8 = archive_entry_pathname_utf8(entry);
    const char *local = utf8 ? nullptr : archive_entry_pathname(entry);
    const QString path = utf8 ? QString::fromUtf8(utf8) : local ? QString::fromLocal8Bit(local) : QString();
    if (path.isEmpty() || path.startsWith(u'/') || path.contains(u'\\') || path.contains(QChar(0)))
        return {};
    QStringList parts = path.split(u'/', Qt::SkipEmptyParts);
    for (const QString &part : std::as_const(parts)) {
        if (part == QLatin1String("..") || part == QLatin1String("."))
            return {};
    }
    return parts;
}

Outcome writeFile(archive *reader, const QByteArray &path, qint64 &total, qint64 maxBytes)
{
    // Never through a link, never over a file already unpacked.
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return errno == ENOSPC || errno == EDQUOT ? Outcome::noSpace : errno == EEXIST ? Outcome::corrupt
                                                                                          : Outcome::unsafe;
    const auto closing = std::unique_ptr<int, void (*)(int *)>(new int(fd), [](int *f) {
        ::close(*f);
        delete f;
    });
    char block[blockBytes];
    for (;;) {
        const la_ssize_t got = archive_read_data(reader, block, sizeof(block));
        if (got == 0)
            return Outcome::unpacked;
        if (got < 0)
            return Outcome::corrupt;
        total += got;
        if (total > maxBytes)
            return Outcome::tooLarge;
        for (la_ssize_t written = 0; written < got;) {
            const ssize_t step = ::write(fd, block + written, size_t(got - written));
            if (step < 0 && errno == EINTR)
                continue;
            if (step <= 0)
                return errno == ENOSPC || errno == EFBIG || errno == EDQUOT ? Outcome::noSpace : Outcome::corrupt;
            written += step;
        }
    }
}

} // namespace

Outcome SpeechModelArchive::unpack(const QString &zip, const QString &into, qint64 maxBytes)
{
    const std::unique_ptr<archive, decltype(&archive_read_free)> reader(archive_read_new(), &archive_read_free);
    if (!reader)
        return Outcome::corrupt;
    archive_read_support_format_zip(reader.get());
    if (archive_read_open_filename(reader.get(), QFile::encodeName(zip).constData(), blockBytes) != ARCHIVE_OK)
        return Outcome::corrupt;
    const QDir root(into);
    qint64 total = 0;
    archive_entry *entry = nullptr;
    for (int count = 0;; ++count) {
        const int status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF)
            return count > 0 ? Outcome::unpacked : Outcome::corrupt;
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN)
            return Outcome::corrupt;
        if (count >= maxEntries)
            return Outcome::tooLarge;
        const QStringList parts = safeParts(entry);
        const mode_t type = archive_entry_filetype(entry);
        if (parts.isEmpty() || archive_entry_hardlink(entry) || archive_entry_symlink(entry)
            || (type != AE_IFREG && type != AE_IFDIR))
            return Outcome::unsafe;
        // Folders are made as they are named, always private; a file's folder may come unnamed.
        const QString relative = parts.join(u'/');
        const QString folder = type == AE_IFDIR ? relative : QStringList(parts.mid(0, parts.size() - 1)).join(u'/');
        if (!folder.isEmpty() && !root.mkpath(folder))
            return Outcome::corrupt;
        if (type == AE_IFREG) {
            if (archive_entry_size_is_set(entry) && archive_entry_size(entry) > maxBytes - total)
                return Outcome::tooLarge;
            if (const Outcome written = writeFile(reader.get(), QFile::encodeName(root.filePath(relative)), total, maxBytes);
                written != Outcome::unpacked)
                return written;
        }
    }
}

extern "C" Q_DECL_EXPORT int fikranest_unpack_speech_model(const QString &zip, const QString &into, qint64 maxBytes)
{
    return int(SpeechModelArchive::unpack(zip, into, maxBytes));
}
