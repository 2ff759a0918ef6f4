#include "message/lineends.h"

#include <cstring>

QByteArray withUnixLineEnds(const QByteArray &text)
{
    QByteArray unix;
    qsizetype from = 0;
    qsizetype next = 0;
    for (qsizetype end = text.indexOf('\r'); end >= 0; end = text.indexOf('\r', next)) {
        // All of them in "\r\r\n" too, the mark of a program that converted twice: what is done must stay
        // done.
        for (next = end + 1; next < text.size() && text[next] == '\r';)
            ++next;
        if (next == text.size() || text[next] != '\n')
            continue;
        if (from == 0)
            unix.reserve(text.size());
        unix.append(text.constData() + from, end - from);
        from = next;
    }
    return from == 0 ? text : unix.append(text.constData() + from, text.size() - from);
}

QByteArrayView takeLine(QByteArrayView &rest)
{
    const void *found = rest.isEmpty() ? nullptr : std::memchr(rest.data(), '\n', std::size_t(rest.size()));
    const char *lineEnd = found ? static_cast<const char *>(found) : rest.end();
    QByteArrayView line(rest.begin(), lineEnd);
    rest = QByteArrayView(lineEnd < rest.end() ? lineEnd + 1 : lineEnd, rest.end());
    if (line.endsWith('\r'))
        line.chop(1);
    return line;
}
