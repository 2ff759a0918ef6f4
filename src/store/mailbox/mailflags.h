#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// What a mailbox on disk remembers about a message beside its text.
struct MailFlags
{
    bool read = false;
    bool answered = false;
    bool flagged = false;
    bool deleted = false; ///< marked for removal, or removed and not yet compacted away
    bool draft = false;
    bool forwarded = false;

    bool operator==(const MailFlags &) const = default;
};

/// The flags in the fields Status, X-Status and X-Mozilla-Status of a header; a flag counts when any of them
/// sets it. @p text may go on behind the header.
MailFlags flagsOfHeader(QByteArrayView text);

/// Whether @p line begins with a field name and a colon (RFC 5322 section 2.2); blanks before the colon are
/// tolerated.
bool looksLikeField(QByteArrayView line);

/// Calls @p visit (name, value) for each field of the header at the start of @p text, without line ends and
/// without unfolding, until the empty line, at most 256 KB in.
template <typename Visit>
void forEachField(QByteArrayView text, Visit visit)
{
    text = text.first(qMin(text.size(), qsizetype(256) << 10));
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf('\n');
        const QByteArrayView line = (end < 0 ? text : text.first(end)).trimmed();
        if (line.isEmpty())
            return;
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && looksLikeField(text))
            visit(line.first(colon).trimmed(), line.sliced(colon + 1).trimmed());
        text = end < 0 ? QByteArrayView() : text.sliced(end + 1);
    }
}
