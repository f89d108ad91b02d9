#include "AppLinks.h"

#include <QDesktopServices>

namespace {
AppLinks::Opener &opener()
{
    static AppLinks::Opener current;
    return current;
}
}

QUrl AppLinks::supportUrl()
{
    return QUrl(QStringLiteral(FIKRANEST_SUPPORT_URL));
}

QUrl AppLinks::makerUrl()
{
    return QUrl(QStringLiteral(FIKRANEST_MAKER_URL));
}

QString AppLinks::makerLabel()
{
    return makerUrl().host();
}

void AppLinks::open(const QUrl &url)
{
    if (opener())
        opener()(url);
    else
        QDesktopServices::openUrl(url);
}

void AppLinks::setOpener(Opener replacement)
{
    opener() = std::move(replacement);
}
