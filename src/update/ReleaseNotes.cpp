#include "ReleaseNotes.h"

#include <QList>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFragment>

namespace {

// Reading the HTML would otherwise load <link> style sheets, @import rules and
// local files named by images.
class InertDocument : public QTextDocument
{
protected:
    QVariant loadResource(int, const QUrl &) override { return {}; }
};

struct Span
{
    int position;
    int length;
    QTextCharFormat format;
    bool image;
};

// What may never survive into the view, however it got past the clean-up.
bool namesSomethingToLoad(const QString &html)
{
    static const QStringList markers = {QStringLiteral("://"), QStringLiteral("src="), QStringLiteral("href="),
                                        QStringLiteral("url("), QStringLiteral("background-image"),
                                        QStringLiteral("background="), QStringLiteral("@import"),
                                        QStringLiteral("<img"), QStringLiteral("<link"), QStringLiteral("<script")};
    for (const QString &marker : markers) {
        if (html.contains(marker, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace

QString ReleaseNotes::inertHtml(const QString &html)
{
    // Qt's reader takes <link> for a container and would hide all that follows it.
    static const QRegularExpression linkTag(QStringLiteral("<link\\b[^>]*>"),
                                            QRegularExpression::CaseInsensitiveOption);
    InertDocument document;
    document.setHtml(QString(html).remove(linkTag));

    QList<Span> spans;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            QTextCharFormat format = fragment.charFormat();
            const bool image = format.isImageFormat();
            if (!image && !format.isAnchor() && !format.hasProperty(QTextFormat::BackgroundImageUrl))
                continue;
            if (format.isAnchor()) {
                // A link that leads nowhere should not look like one.
                format.clearForeground();
                format.setFontUnderline(false);
            }
            format.setAnchor(false);
            format.clearProperty(QTextFormat::AnchorHref);
            format.clearProperty(QTextFormat::AnchorName);
            format.clearProperty(QTextFormat::BackgroundImageUrl);
            spans.append({fragment.position(), fragment.length(), format, image});
        }
    }
    // Back to front, so removing an image leaves the earlier positions as they were.
    QTextCursor cursor(&document);
    for (auto span = spans.crbegin(); span != spans.crend(); ++span) {
        cursor.setPosition(span->position);
        cursor.setPosition(span->position + span->length, QTextCursor::KeepAnchor);
        if (span->image)
            cursor.removeSelectedText();
        else
            cursor.setCharFormat(span->format);
    }

    // The body's content only: the head names the DTD by its address, and the body's
    // own font would override the view's.
    const QString full = document.toHtml();
    const qsizetype start = full.indexOf(u'>', full.indexOf(QStringLiteral("<body"))) + 1;
    const QString cleaned = full.mid(start, full.lastIndexOf(QStringLiteral("</body>")) - start);
    if (!namesSomethingToLoad(cleaned))
        return cleaned;
    return Qt::convertFromPlainText(document.toPlainText());
}
