#pragma once

#include "ContentLine.h"

#include <libical/ical.h>

#include <QByteArray>
#include <QByteArrayView>

#include <map>
#include <optional>
#include <utility>
#include <vector>

// An iCalendar text as content lines and the components they form, edited in place: the
// lines that are not rewritten, removed or added to stay exactly as they came.
class IcsText
{
public:
    explicit IcsText(const QByteArray &text);

    // One VCALENDAR, properly nested, with nothing but blank lines around it.
    bool isClean() const { return m_clean; }

    // Whether the components libical read are the ones in the text, so that each VTODO or
    // VALARM it read has its lines here. libical keeps unknown and X- components in its tree
    // (though it never prints them), so they count too.
    bool matches(icalcomponent *calendar) const;

    // The block of `child`, a component libical read under the one of `block`; -1 if none.
    int blockOf(int block, icalcomponent *parent, icalcomponent *child) const;

    // The block's own content lines of that property name.
    std::vector<int> linesNamed(int block, QByteArrayView name) const;

    const ContentLine &line(int index) const { return m_lines[index]; }

    // Generated text comes with CRLF; it takes the text's own line breaks.
    void replace(int line, const QByteArray &generated);
    void remove(int line);
    void removeBlock(int block);
    // Properties go after the block's properties, before its first component (RFC 5545
    // wants them there); components go at its end.
    void insertProperty(int block, const QByteArray &generated);
    void insertComponent(int block, const QByteArray &generated);
    // The first line of that name is rewritten, or the property added.
    void set(int block, QByteArrayView name, const QByteArray &generated);
    void removeAll(int block, QByteArrayView name);

    bool changed() const { return m_changed; }
    QByteArray result() const;

private:
    struct Block
    {
        QByteArray name;
        int begin = -1;
        int end = -1;
        std::vector<int> children;   // indices into m_blocks
        std::vector<int> properties; // indices into m_lines: the block's own content lines
    };
    using Pairs = std::vector<std::pair<int, icalcomponent *>>;

    std::optional<Pairs> paired(int block, icalcomponent *component) const;
    QByteArray fitted(QByteArray generated) const;
    void buildBlocks();

    QByteArray m_text;
    QByteArray m_eol = "\r\n";
    std::vector<ContentLine> m_lines;
    std::vector<Block> m_blocks;
    bool m_clean = false;

    std::vector<QByteArray> m_replacement;
    std::vector<bool> m_removed;
    std::map<int, QByteArray> m_properties; // inserted before that line
    std::map<int, QByteArray> m_components; // inserted before that line, after m_properties
    bool m_changed = false;
};
