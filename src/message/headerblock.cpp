#include "message/headerblock.h"

#include <cstring>

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

/// The first @p c at or behind @p from; -1 without one. A header is read with many short searches.
qsizetype findByte(QByteArrayView text, char c, qsizetype from)
{
    if (from >= text.size())
        return -1;
    const void *found = std::memchr(text.data() + from, c, std::size_t(text.size() - from));
    return found ? static_cast<const char *>(found) - text.data() : -1;
}

/// The end of the field that begins at @p from: the position of the "\n" behind its last line, or the end.
qsizetype fieldEnd(QByteArrayView block, qsizetype from)
{
    qsizetype end = from;
    while ((end = findByte(block, '\n', end)) >= 0 && end + 1 < block.size() && isBlank(block[end + 1]))
        ++end;
    return end < 0 ? block.size() : end;
}

/// Of a name without regard to the case of its ASCII letters (FNV-1a).
quint32 nameHash(QByteArrayView name)
{
    quint32 hash = 2166136261U;
    for (const char c : name)
        hash = (hash ^ quint8(c >= 'A' && c <= 'Z' ? c + 32 : c)) * 16777619U;
    return hash;
}

/// Of the printable characters that a field's name is made of.
qsizetype nameLength(QByteArrayView text)
{
    qsizetype length = 0;
    while (length < text.size() && text[length] > ' ' && text[length] < 0x7f && text[length] != ':')
        ++length;
    return length;
}

HeaderExtent extentFrom(QByteArrayView text, qsizetype from)
{
    for (qsizetype end = findByte(text, '\n', from); end >= 0; end = findByte(text, '\n', end + 1))
        if (end + 1 < text.size() && text[end + 1] == '\n')
            return {end + 1, end + 2};
    return {text.size(), text.size()};
}

} // namespace

bool beginsWithField(QByteArrayView text)
{
    const qsizetype length = nameLength(text);
    return length > 0 && length < text.size() && text[length] == ':';
}

bool isFieldLine(QByteArrayView line)
{
    const qsizetype length = nameLength(line);
    qsizetype colon = length;
    while (colon < line.size() && isBlank(line[colon]))
        ++colon;
    return length > 0 && colon < line.size() && line[colon] == ':';
}

HeaderExtent headerExtent(QByteArrayView text)
{
    if (!text.startsWith('\n'))
        return extentFrom(text, 0);
    qsizetype first = 0;
    while (first < text.size() && text[first] == '\n')
        ++first;
    // Mailbox files and gateways put empty lines in front of a header; without one they are the body's own.
    return beginsWithField(text.sliced(first)) ? extentFrom(text, first) : HeaderExtent{0, 1};
}

QByteArray unfolded(QByteArrayView folded)
{
    QByteArray line;
    line.reserve(folded.size());
    qsizetype from = 0;
    for (qsizetype end = folded.indexOf('\n'); end >= 0; end = folded.indexOf('\n', end + 1)) {
        if (end + 1 >= folded.size() || !isBlank(folded[end + 1]))
            continue;
        line.append(folded.sliced(from, end - from)).append(' ');
        from = end + 2;
    }
    return line.append(folded.sliced(from));
}

HeaderFields::HeaderFields(QByteArrayView block)
    : m_block(block)
{
    constexpr std::size_t kUsualFields = 24;
    m_entries.reserve(block.isEmpty() ? 0 : kUsualFields);
    for (qsizetype at = 0; at < block.size();) {
        const qsizetype end = fieldEnd(block, at);
        const qsizetype colon = findByte(block.first(end), ':', at);
        if (colon >= 0)
            m_entries.push_back(
                {nameHash(block.sliced(at, colon - at)), quint32(at), quint32(colon), quint32(end)});
        at = end + 1;
    }
}

HeaderFields::Field HeaderFields::at(qsizetype index) const
{
    const Entry &entry = m_entries[std::size_t(index)];
    return {m_block.sliced(entry.name, entry.colon - entry.name),
            m_block.sliced(entry.colon + 1, entry.end - entry.colon - 1).trimmed()};
}

QByteArray HeaderFields::value(QByteArrayView name) const
{
    const qsizetype index = find(name);
    return index < 0 ? QByteArray() : unfolded(at(index).value);
}

qsizetype HeaderFields::find(QByteArrayView name) const
{
    const quint32 hash = nameHash(name);
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const Entry &entry = m_entries[i];
        if (entry.hash == hash && entry.colon - entry.name == quint32(name.size()) &&
            m_block.sliced(entry.name, name.size()).compare(name, Qt::CaseInsensitive) == 0)
            return qsizetype(i);
    }
    return -1;
}
