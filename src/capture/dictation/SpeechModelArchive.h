#pragma once

#include <QString>

// Unpacks a downloaded speech model, trusting nothing in it: a zip from the network
// could name paths outside the folder, carry links, or unpack to far more than it weighs.
// Built into a library of its own with libarchive, loaded on the first install only.
namespace SpeechModelArchive {

enum class Outcome {
    unpacked,
    corrupt,  // not a zip, or cut short, or an entry twice
    unsafe,   // a path leaving the folder, a link, or a file of another kind
    tooLarge, // more than allowed in all, or too many entries
    noSpace,  // the disk filled, or a file size limit was reached
};

// Unpacks the zip at `zip` into the empty folder `into`, at most `maxBytes` in all.
// What was unpacked before a refusal is left for the caller to remove with the folder.
Outcome unpack(const QString &zip, const QString &into, qint64 maxBytes);

} // namespace SpeechModelArchive

// The library's one entry point, as the program finds it by name.
extern "C" int fikranest_unpack_speech_model(const QString &zip, const QString &into, qint64 maxBytes);
