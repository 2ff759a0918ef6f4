#include "html/prescan.h"

#include "html/tagbalance.h"
#include "html/tags.h"

#include <QHash>

#include <algorithm>

namespace {

constexpr qsizetype kLongestCss = 128 * 1024;
constexpr int kMostOpenTags = 8; // each costs a look at all the text behind it
constexpr int kWorkPerByte = 16; // of the cap, on tags that are dropped

/// Where in the text a word stands next, remembering that it stands nowhere: each is looked for once in vain.
class Finder
{
public:
    explicit Finder(QByteArrayView text)
        : m_text(text)
    {}

    /// Position of @p what (lower case) from @p from on, letters in either case; -1: nowhere.
    qsizetype find(QByteArrayView what, qsizetype from)
    {
        if (const auto vain = m_nowhereFrom.constFind(what); vain != m_nowhereFrom.cend() && from >= *vain)
            return -1;
        for (qsizetype at = m_text.indexOf(what.first(1), from); at >= 0;
             at = m_text.indexOf(what.first(1), at + 1)) {
            if (m_text.size() - at >= what.size() &&
                qstrnicmp(m_text.data() + at, what.size(), what.data(), what.size()) == 0)
                return at;
        }
        m_nowhereFrom.insert(what, from);
        return -1;
    }

private:
    QByteArrayView m_text;
    QHash<QByteArrayView, qsizetype> m_nowhereFrom;
};

class Scan
{
public:
    Scan(const QByteArray &text, qsizetype cap)
        : m_text(text)
        , m_reader(text)
        , m_finder(text)
        , m_cap(cap)
    {}

    Prescan run();

private:
    void markup();
    void declaration();
    void tag();
    void raw(Element element);
    void text(qsizetype end);
    void noteRemote();

    QByteArrayView m_text;
    TagReader m_reader;
    Finder m_finder;
    TagBalance m_balance;
    QByteArray m_css;
    Tag m_tag;
    qsizetype m_cap;
    qsizetype m_position = 0;
    qsizetype m_work = 0;
    int m_openTags = 0;
    int m_remote = 0;
    bool m_truncated = false;
};

/// The end of what fits into @p room bytes of @p text, inside neither a character, a reference nor a word.
qsizetype endOfWhatFits(QByteArrayView text, qsizetype room)
{
    constexpr qsizetype kLongestWord = 64;
    for (qsizetype end = room; end > std::max(room - kLongestWord, qsizetype(0)); --end)
        if (text[end] == ' ' || text[end] == '\n')
            return end;
    while (room > 0 && (text[room] & 0xC0) == 0x80)
        --room;
    const qsizetype ampersand = text.first(room).lastIndexOf('&');
    return ampersand >= 0 && room - ampersand < kLongestWord / 2 ? ampersand : room;
}

bool isRemote(QByteArrayView address)
{
    const QByteArrayView trimmed = address.trimmed();
    const auto begins = [trimmed](QByteArrayView with) {
        return trimmed.size() >= with.size() &&
               qstrnicmp(trimmed.data(), with.size(), with.data(), with.size()) == 0;
    };
    return begins("//") || begins("http://") || begins("https://");
}

/// How many addresses on the net a style sheet or a style attribute refers to.
int remoteInStyle(QByteArrayView css)
{
    int found = 0;
    for (qsizetype at = css.indexOf("//"); at >= 0; at = css.indexOf("//", at + 2)) {
        const qsizetype begin = std::max<qsizetype>(at - 40, 0);
        const QByteArray before = css.sliced(begin, at - begin).toByteArray().toLower();
        found += before.contains("url(") || before.contains("@import");
    }
    return found;
}

Prescan Scan::run()
{
    while (m_position < m_text.size() && !m_truncated) {
        const qsizetype next = m_text.indexOf('<', m_position);
        text(next < 0 ? m_text.size() : next);
        if (next >= 0 && !m_truncated)
            markup();
        if (m_balance.size() > m_cap || m_work > m_cap * kWorkPerByte)
            m_truncated = m_position < m_text.size();
    }
    return {m_balance.finish(), m_css, m_truncated, m_remote};
}

void Scan::text(qsizetype end)
{
    QByteArrayView piece = m_text.sliced(m_position, end - m_position);
    const qsizetype room = std::max(m_cap - m_balance.size(), qsizetype(0));
    if (piece.size() > room) {
        piece = piece.first(endOfWhatFits(piece, room));
        m_truncated = true;
    }
    m_balance.text(piece);
    m_position += piece.size();
}

void Scan::markup()
{
    const char next = m_position + 1 < m_text.size() ? m_text[m_position + 1] : '\0';
    if (m_reader.beginsAt(m_position))
        return tag();
    if (next == '!' || next == '?' || next == '/')
        return declaration();
    m_balance.text("<");
    ++m_position;
}

/// Comments, document types and what browsers take for comments. One that nobody closes ends at the next ">".
void Scan::declaration()
{
    qsizetype end = -1;
    if (m_text.sliced(m_position).startsWith("<!--")) {
        const qsizetype close = m_finder.find("-->", m_position + 2); // "<!-->" is a whole comment
        end = close < 0 ? -1 : close + 3;
    }
    if (end < 0) {
        const qsizetype close = m_finder.find(">", m_position);
        end = close < 0 ? -1 : close + 1;
    }
    if (end < 0) {
        m_balance.text("<");
        end = m_position + 1;
    }
    m_position = end;
}

void Scan::tag()
{
    const qsizetype begin = m_position;
    m_position = m_openTags < kMostOpenTags ? m_reader.read(begin, m_tag) : begin + 1;
    if (m_text[m_position - 1] != '>') { // a tag without an end would swallow all that is left
        ++m_openTags;
        m_balance.text("<");
        m_position = begin + 1;
        return;
    }
    qsizetype length = m_position - begin;
    for (const auto &[attribute, value] : m_tag.attributes)
        length -= attribute == Attribute::Src ? value.size() : 0;
    m_work += length;
    noteRemote();
    if (m_tag.element == Element::Listing || m_tag.element == Element::Plaintext)
        m_tag.element = Element::Pre;
    if (rowOf(m_tag.element).kind != ElementKind::Raw)
        m_balance.tag(m_tag);
    else if (!m_tag.end)
        raw(m_tag.element);
}

/// What browsers would load besides pictures: backgrounds, films, frames, objects.
void Scan::noteRemote()
{
    for (const auto &[attribute, value] : m_tag.attributes) {
        const bool isPicture = m_tag.element == Element::Img;
        switch (attribute) {
        case Attribute::Background:
        case Attribute::Data:
        case Attribute::Poster: m_remote += isRemote(value); break;
        case Attribute::Src:
        case Attribute::Srcset: m_remote += !isPicture && isRemote(value); break;
        case Attribute::Style: m_remote += remoteInStyle(value); break;
        default: break;
        }
    }
}

/// An element whose content is no markup. Without an end tag only its start tag goes.
void Scan::raw(Element element)
{
    static const QHash<Element, QByteArray> kEnds = [] {
        QHash<Element, QByteArray> ends;
        for (const ElementRow &row : kElements)
            if (row.kind == ElementKind::Raw)
                ends.insert(row.element, QByteArray("</") + row.name);
        return ends;
    }();
    const qsizetype end = m_finder.find(kEnds[element], m_position);
    if (end < 0)
        return;
    const QByteArrayView content = m_text.sliced(m_position, end - m_position);
    if (element == Element::Style && m_css.size() + content.size() <= kLongestCss)
        m_css.append(content).append('\n');
    if (element == Element::Style)
        m_remote += remoteInStyle(content);
    m_position = end;
    if (element != Element::Textarea && element != Element::Xmp)
        return;
    m_balance.open(Element::Pre);
    m_position -= content.size();
    for (qsizetype next = m_position; !m_truncated && next < end; m_position = next) {
        next = m_text.first(end).indexOf('<', m_position);
        text(next < 0 ? end : next);
        if (next < 0 || m_truncated)
            break;
        m_balance.text("<");
        ++next;
    }
    m_balance.close(Element::Pre);
}

} // namespace

Prescan prescan(const QString &text, qsizetype cap)
{
    QByteArray bytes = text.toUtf8();
    if (bytes.contains('\0'))
        bytes.replace('\0', "");
    return Scan(bytes, cap).run();
}
