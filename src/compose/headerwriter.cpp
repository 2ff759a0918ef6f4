#include "compose/headerwriter.h"

#include "message/encodedword.h"
#include "message/messageid.h"

#include <QStringTokenizer>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLineWidth = 78; ///< preferred (RFC 5322 2.1.1)
constexpr qsizetype kLongestPiece = 900;
constexpr qsizetype kLongestName = 70;

bool isControl(QChar c)
{
    return c < u' ' || (c >= u'\x7f' && c < u'\xa0');
}

bool isPrintable(char c)
{
    return c > ' ' && c <= '~';
}

} // namespace

QString fieldText(const QString &value)
{
    QString text = inOneLine(value);
    std::replace_if(text.begin(), text.end(), isControl, QChar(u' '));
    return text.trimmed();
}

bool isFieldName(const QString &name)
{
    return !name.isEmpty() && name.size() <= kLongestName &&
           std::all_of(name.begin(), name.end(), [](QChar c) { return c > u' ' && c <= u'~' && c != u':'; });
}

bool isWritableIdentifier(const QByteArray &id)
{
    return id.size() > 2 && id.size() <= kLongestPiece && std::all_of(id.begin(), id.end(), isPrintable);
}

FoldedField::FoldedField(QByteArray &block, QByteArrayView name)
    : m_block(block)
    , m_line(block.size())
{
    m_block.append(name).append(':');
}

void FoldedField::put(QByteArrayView piece)
{
    // A line of blanks alone would end the header for some readers: the first piece never gets a new line.
    if (!m_empty && m_block.size() - m_line + piece.size() > kLineWidth) {
        m_block += '\n';
        m_line = m_block.size();
    }
    m_block += piece;
    m_empty = false;
}

void FoldedField::add(QByteArrayView piece)
{
    put(' ' + piece.toByteArray());
}

void FoldedField::addWords(QByteArrayView text)
{
    const QByteArray words = ' ' + text.toByteArray();
    for (qsizetype from = 0; from < words.size();) {
        qsizetype end = from;
        while (end < words.size() && words[end] == ' ')
            ++end;
        while (end < words.size() && words[end] != ' ')
            ++end;
        put(QByteArrayView(words).sliced(from, end - from));
        from = end;
    }
}

void FoldedField::addEntry(QByteArrayView text)
{
    if (text.size() < kLineWidth)
        add(text);
    else
        addWords(text);
}

void FoldedField::end()
{
    m_block += '\n';
}

void HeaderWriter::line(QByteArrayView name, QByteArrayView value)
{
    if (value.isEmpty())
        return;
    FoldedField field(m_block, name);
    field.add(value);
    field.end();
}

void HeaderWriter::text(QByteArrayView name, const QString &value)
{
    const QString text = fieldText(value);
    if (text.isEmpty())
        return;
    FoldedField field(m_block, name);
    field.addWords(headerText(text, m_charset));
    field.end();
}

void HeaderWriter::addresses(QByteArrayView name, const QString &field)
{
    addresses(name, parseAddresses(fieldText(field)));
}

void HeaderWriter::addresses(QByteArrayView name, const QList<Address> &addresses)
{
    QByteArrayList entries;
    for (const Address &address : addresses) {
        const Address entry{fieldText(address.name), fieldText(address.address)};
        if (!entry.name.isEmpty() || !entry.address.isEmpty())
            entries += addressField({entry}, m_charset);
    }
    if (entries.isEmpty())
        return;
    FoldedField field(m_block, name);
    for (qsizetype i = 0; i < entries.size(); ++i)
        field.addEntry(i + 1 < entries.size() ? entries.at(i) + ',' : entries.at(i));
    field.end();
}

void HeaderWriter::identifiers(QByteArrayView name, QByteArrayView value)
{
    QList<QByteArray> ids = messageIds(value);
    ids.removeIf([](const QByteArray &id) { return !isWritableIdentifier(id); });
    if (ids.isEmpty())
        return;
    FoldedField field(m_block, name);
    for (const QByteArray &id : std::as_const(ids))
        field.add(id);
    field.end();
}

void HeaderWriter::names(QByteArrayView name, const QString &value)
{
    QByteArrayList all;
    const QString text = fieldText(value).replace(u' ', u',');
    for (const QStringView one : QStringTokenizer(text, u',', Qt::SkipEmptyParts))
        all += one.toUtf8().left(kLongestPiece);
    if (all.isEmpty())
        return;
    // No blanks between: servers of news take them for part of a name. Only what no line could hold is
    // folded.
    FoldedField field(m_block, name);
    QByteArray piece;
    for (const QByteArray &one : std::as_const(all)) {
        if (piece.size() + one.size() > kLongestPiece) {
            field.add(piece + ',');
            piece.clear();
        }
        piece += (piece.isEmpty() ? "" : ",") + one;
    }
    field.add(piece);
    field.end();
}
