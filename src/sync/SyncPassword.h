#pragma once

#include <QString>

#include <functional>

// The sync password in the desktop's secret store (the Secret Service: GNOME Keyring,
// KWallet, KeePassXC) through QtKeychain, never in a file of ours. Each call answers
// through `done` on the calling thread's event loop.
namespace SyncPassword {

enum class Outcome { done, missing, noStore, failed };

// The key an account's password is kept under.
QString key(const QString &user, const QString &server);

void read(const QString &key, std::function<void(Outcome, const QString &password)> done);
void write(const QString &key, const QString &password, std::function<void(Outcome)> done);
void forget(const QString &key, std::function<void(Outcome)> done);

// Blocking forms, for the command line.
Outcome readNow(const QString &key, QString &password);
Outcome writeNow(const QString &key, const QString &password);
Outcome forgetNow(const QString &key);

} // namespace SyncPassword
