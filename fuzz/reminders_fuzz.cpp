// Feeds arbitrary bytes to the reminders file reader: before the first NUL the array,
// after it the journal. Beyond the sanitizers, it stops on anything the reader
// promises: requests it keeps have an identifier each, none twice; what it writes it
// reads back the same, and a journaled request is left out.
#include "FuzzInput.h"
#include "ReminderFile.h"

#include <QSet>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    const qsizetype cut = bytes.indexOf('\0');
    const ReminderFile::Contents read =
        ReminderFile::read(cut < 0 ? bytes : bytes.left(cut), cut < 0 ? QByteArray() : bytes.mid(cut + 1));
    QSet<QString> identifiers;
    for (const NotificationRequest &request : read.requests) {
        check(!request.identifier.isEmpty());
        identifiers.insert(request.identifier);
    }
    check(identifiers.size() == read.requests.size());

    // Text that does not survive UTF-8 (a lone surrogate) is mended by the first write;
    // from then on, writing and reading must change nothing.
    const ReminderFile::Contents once = ReminderFile::read(ReminderFile::write(read.requests), {});
    const ReminderFile::Contents twice = ReminderFile::read(ReminderFile::write(once.requests), {});
    check(once.complete && twice.complete && twice.requests == once.requests);
    if (!once.requests.isEmpty()) {
        const ReminderFile::Contents less =
            ReminderFile::read(ReminderFile::write(once.requests), ReminderFile::journalLine(once.requests.first()));
        check(less.journaled && less.requests == once.requests.mid(1));
    }
    return 0;
}
