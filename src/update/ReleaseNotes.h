#pragma once

#include <QString>

// Release notes come from the network as HTML. Shown as they are, a rich-text view
// would fetch their images and style sheets; this keeps their words and layout only.
class ReleaseNotes
{
public:
    // The notes as rich text that names nothing to load: no images, links, scripts,
    // style sheets or addresses. Falls back to the plain words when in doubt.
    static QString inertHtml(const QString &html);
};
