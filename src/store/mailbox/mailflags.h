#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstring>

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

/// The length of the field name that @p line begins with, in @p colon the position of the colon behind it; 0
/// when there is none.
qsizetype fieldName(QByteArrayView line, qsizetype &colon);

/// Calls @p visit (name, value) for each field of the header at the start of @p text, the value with the
/// blanks around it and without unfolding, until the empty line, at most 256 KB in.
template <typename Visit>
void forEachField(QByteArrayView text, Visit visit)
{
    text = text.first(qMin(text.size(), qsizetype(256) << 10));
    while (!text.isEmpty()) {
        const void *found = std::memchr(text.data(), '\n', std::size_t(text.size()));
        const qsizetype end = found ? static_cast<const char *>(found) - text.data() : text.size();
        const QByteArrayView line = text.first(end);
        qsizetype colon = 0;
        if (const qsizetype length = fieldName(line, colon); length > 0)
            visit(line.first(length), line.sliced(colon + 1));
        else if (line.trimmed().isEmpty())
            return;
        text = text.sliced(qMin(end + 1, text.size()));
    }
}
