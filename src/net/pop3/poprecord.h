#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// What is remembered of one message on the server.
struct PopRecord
{
    static constexpr int kMostRefusals = 3;

    QByteArray identifier;  ///< as popIdentifier() or madeIdentifier() gives it
    qint64 taken = 0;       ///< when it was first taken: seconds since 1970 UTC
    qint64 size = -1;       ///< bytes by the listing when it was fetched; -1: not known
    QByteArray header;      ///< headerDigest() of what was fetched; empty: not known
    qint64 absentSince = 0; ///< when it was first missing from a complete listing; 0: it was there
    int refusals = 0;       ///< how often the server refused to give it
    QByteArray storedAs;    ///< the name that the store knows it by; empty: its identifier
    bool isFetched = false;
    bool isHeaderOnly = false; ///< the rest is still on the server
    bool isDeleted = false;    ///< on the server, by this program: its absence means nothing

    /// By which the store knows it, and every wish about it.
    const QByteArray &storeName() const { return storedAs.isEmpty() ? identifier : storedAs; }

    /// Whether the server is not asked for it any more.
    bool isSetAside() const { return refusals >= kMostRefusals; }

    /// Whether enough is known to tell it from another message of the same name.
    bool isKnownInDetail() const { return isFetched && size >= 0 && !header.isEmpty(); }
};

/// A unique identifier as everything here names it: what a server says (RFC 1939: 1 to 70 characters from
/// 0x21 to 0x7E), with any other byte, and "%", as "%XX"; "%#" and a digest for one of more than 140 bytes.
/// Empty only for an empty one.
QByteArray popIdentifier(QByteArrayView raw);

/// A name for a message that the server has none for, or no name of its own, from what it is; @p ordinal
/// tells apart those that are the same in both, from 1. No server's identifier looks like it.
QByteArray madeIdentifier(qint64 size, const QByteArray &header, int ordinal);

/// A name for the store to know a message by whose @p identifier is that of another message there already;
/// @p taken tells them apart. No server's identifier looks like it.
QByteArray laterIdentifier(const QByteArray &identifier, qint64 taken);

/// The size within such a name; -1 when it is not one.
qint64 sizeInMadeIdentifier(const QByteArray &identifier);
QByteArray headerInMadeIdentifier(const QByteArray &identifier);

/// @name Lines of the file "Fetched"
/// A digest of the rest of the line, a letter for what the line is, fields; blanks between them. The last
/// line about an identifier counts. A last field, only where there is one, tells the name in the store.
/// @{
constexpr char kStoredAsMark[] = " =";

enum class PopLineKind : char {
    Mailbox = 'V',  ///< 1, user@host
    Message = 'M',  ///< it is as the line says
    Arriving = 'P', ///< it will be so once it is known to be in the store
    Forgotten = 'X',
};

struct PopLine
{
    PopLineKind kind = PopLineKind::Message;
    PopRecord record; ///< of a mailbox only the identifier, which is its name
};

QByteArray popLine(PopLineKind kind, const PopRecord &record);

/// Nothing: the line, given without its "\n", is damaged, or of a later day.
std::optional<PopLine> readPopLine(QByteArrayView line);
/// @}
