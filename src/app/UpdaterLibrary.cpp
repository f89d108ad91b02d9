#include "UpdaterLibrary.h"

#include "OwnLibrary.h"
#include "UpdateCheck.h"

bool UpdaterLibrary::checkForUpdates(QQmlEngine &engine)
{
    using Check = decltype(&fikranest_check_for_updates);
    static const auto check = reinterpret_cast<Check>(OwnLibrary::symbol(
        QStringLiteral("libfikranest_update.so"), QStringLiteral(FIKRANEST_UPDATE_INSTALLED),
        "fikranest_check_for_updates"));
    if (!check)
        return false;
    check(&engine);
    return true;
}
